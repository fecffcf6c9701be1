# What find_package(dral) reads: the target dral::dral_core.
include(CMakeFindDependencyMacro)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/dral-targets.cmake)
