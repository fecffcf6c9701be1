#include "engine/settings.h"

#include <algorithm>

void OptionText::assign(std::string_view text) {
    length_ = static_cast<std::uint8_t>(std::min(text.size(), text_.size() - 1));
    text_.fill('\0');
    std::copy_n(text.begin(), length_, text_.begin());
}
