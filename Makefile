# Builds the program with nothing but a compiler and GNU make, for test frameworks and for machines without CMake:
#
#   make -j [EXE=dral] [CXX=g++ or clang++] [ARCH=native] [LTO=yes] [COMMIT=...]
#   make pgo -j ...     the same with the profile of a training run, some percent faster
#   make TUNE=1 ...      a program for testers that lists its evaluation weights as options
#   make clean
#
# With em++ it builds for browsers; web/engine/build.sh knows how to link there, and sets THREADS= where there are none.
# ARCH is what the compiler's -march takes; ARCH= leaves it away. The program is for this machine's processor, then.
# Developers use CMake (see README.md). These are the flags of CMakeLists.txt for the released program, but for the
# warnings: CMAKE_CXX_STANDARD, CMAKE_CXX_FLAGS_RELEASE, the target dral_flags, DRAL_NATIVE with dral_bit_extraction,
# dral_lto, and the choice of dral_sources; tests/check_make.sh compares what both programs search.

EXE ?= dral
ARCH ?= native
LTO ?= yes
THREADS ?= -pthread
ifeq ($(OS),Windows_NT)
NOTHING := NUL
else
NOTHING := /dev/null
endif

# What the compiler is and makes code for, as macros; nothing when it does not know the flag.
macros_with = $(shell $(CXX) $(1) -dM -E -x c++ $(NOTHING) 2>$(NOTHING))
MACROS := $(if $(ARCH),$(call macros_with,-march=$(ARCH)))
ifneq (,$(findstring __cplusplus,$(MACROS)))
FLAGS := -march=$(ARCH)
else
MACROS := $(call macros_with,)
FLAGS := $(if $(findstring __x86_64__,$(MACROS)),-mpopcnt)
endif

ifneq (,$(filter 1 yes,$(TUNE)))
FLAGS += -DDRAL_TUNE
endif
FLAGS += -std=c++20 -O3 -DNDEBUG -ffp-contract=off -fsigned-char $(THREADS) -Isrc
ifneq (,$(findstring __BMI2__,$(if $(ARCH),$(MACROS))))
FLAGS += -DDRAL_BIT_EXTRACTION
endif
ifeq (,$(findstring __clang__,$(MACROS)))
FLAGS += -fno-tree-loop-vectorize -fno-tree-slp-vectorize -fno-ipa-cp-clone
LTO_FLAG := -flto=auto
else
LTO_FLAG := -flto=thin
endif

ifeq (,$(or $(findstring __SIZEOF_POINTER__ 8,$(MACROS)),$(findstring __EMSCRIPTEN__,$(MACROS))))
$(error dral is for 64-bit Linux and Windows, or $(CXX) is no compiler for C++)
endif

# On Windows the compiler's libraries are part of the program, which is named as that system wants it, and its threads
# have the stacks that Linux gives.
SYSTEM := linux
ifneq (,$(findstring _WIN32,$(MACROS)))
SYSTEM := windows
LINK_FLAGS += -static -Wl,--stack,8388608
LIBRARIES += -lwinmm
override EXE := $(EXE:.exe=).exe
endif
ifneq (,$(findstring __EMSCRIPTEN__,$(MACROS)))
SYSTEM := browser
endif

# Objects of one compiler and processor lie in one folder, those that count and use a profile in another.
# Each is named without a slash, so that every shell's mkdir makes it.
PLAIN_BUILD := build-$(notdir $(lastword $(CXX)))$(if $(ARCH),-$(ARCH))$(if $(filter 1 yes,$(TUNE)),-tune)
PGO_BUILD := $(PLAIN_BUILD)-pgo
BUILD := $(if $(PROFILE),$(PGO_BUILD),$(PLAIN_BUILD))

# Link-time optimisation where compiler and linker can do it: an empty library tells.
ifeq ($(LTO),yes)
ifneq (,$(findstring it works,$(shell $(CXX) $(LTO_FLAG) -shared -x c++ $(NOTHING) -o lto.probe 2>$(NOTHING) && echo it works)))
FLAGS += $(LTO_FLAG)
endif
$(shell rm -f lto.probe || del lto.probe)
endif

# The commit that --version tells, as scripts/commit.cmake finds it.
ifndef COMMIT
ifeq ($(realpath .),$(realpath $(shell git rev-parse --show-toplevel 2>$(NOTHING))))
COMMIT := $(shell git rev-parse --short=12 HEAD 2>$(NOTHING))$(shell git diff --quiet HEAD -- src || echo -modified)
else
COMMIT := $(file < scripts/commit.txt)
COMMIT := $(if $(findstring Format,$(COMMIT)),,$(COMMIT))
endif
endif
COMMIT := $(or $(COMMIT),unknown)

SOURCES := $(wildcard src/*.cpp src/*/*.cpp src/platform/shared/*.cpp src/platform/$(SYSTEM)/*.cpp)
object = $(BUILD)/$(subst /,_,$(1:src/%.cpp=%)).o
# Its name holds the commit, so that another one compiles it again.
VERSION_OBJECT := $(BUILD)/version_$(COMMIT).o
OBJECTS := $(foreach source,$(filter-out src/base/version.cpp,$(SOURCES)),$(call object,$(source))) $(VERSION_OBJECT)

# A profile: g++ keeps one beside each object, clang one in all.
ifneq (,$(findstring __clang__,$(MACROS)))
FLAGS_write := -fprofile-instr-generate
FLAGS_read := -fprofile-instr-use=$(PGO_BUILD)/all.profdata
MERGE = $(shell $(CXX) -print-prog-name=llvm-profdata) merge -o $(PGO_BUILD)/all.profdata $(PGO_BUILD)/*.profraw
else
FLAGS_write := -fprofile-generate -fprofile-update=prefer-atomic
FLAGS_read := -fprofile-use -Wno-missing-profile
MERGE := true
endif
FLAGS += $(FLAGS_$(PROFILE))

$(EXE): $(OBJECTS)
	$(CXX) $(FLAGS) $(LINK_FLAGS) $(LDFLAGS) $(OBJECTS) $(LIBRARIES) -o $@

define rule
$(2): $(1) Makefile | $(BUILD)
	$(CXX) $(FLAGS) $(CXXFLAGS) -MMD -MP -c $(1) -o $(2)$(3)
endef
$(foreach source,$(filter-out src/base/version.cpp,$(SOURCES)),$(eval $(call rule,$(source),$(call object,$(source)))))
$(eval $(call rule,src/base/version.cpp,$(VERSION_OBJECT), -DDRAL_COMMIT=$(COMMIT)))

$(BUILD):
	mkdir $(BUILD)

# Trained as scripts/build_pgo.sh does.
pgo:
	rm -rf $(PGO_BUILD)
	$(MAKE) PROFILE=write EXE=$(PGO_BUILD)/training
	LLVM_PROFILE_FILE=$(PGO_BUILD)/bench.profraw $(PGO_BUILD)/training bench 12
	echo perft 5 | LLVM_PROFILE_FILE=$(PGO_BUILD)/console.profraw $(PGO_BUILD)/training -c
	$(MERGE)
	rm -f $(PGO_BUILD)/*.o
	$(MAKE) PROFILE=read EXE=$(EXE)

clean:
	rm -rf $(PLAIN_BUILD) $(PGO_BUILD) $(EXE) || rmdir /s /q $(PLAIN_BUILD)

.PHONY: clean pgo
-include $(OBJECTS:.o=.d)
