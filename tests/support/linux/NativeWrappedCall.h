// The linker sends the calls of all other objects to the wrapper, which reaches the real function.
#pragma once

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's --wrap gives these names

#define WRAPPED_CALL(result, name, parameters)                                                                         \
    extern "C" result __real_##name parameters noexcept;                                                               \
    extern "C" result __wrap_##name parameters noexcept;                                                               \
    result __wrap_##name parameters noexcept

#define REAL_CALL(name) __real_##name

// NOLINTEND(bugprone-reserved-identifier)
