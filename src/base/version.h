// Name and author as the protocol shows them.
#pragma once

constexpr const char *ENGINE_NAME = "Dral 4.0";
constexpr const char *ENGINE_AUTHOR = "Brellmoor";
