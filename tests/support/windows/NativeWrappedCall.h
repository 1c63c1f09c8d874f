// A call to the system goes through a slot of the import table; the linker gives the other objects
// a slot of ours.
#pragma once

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's --wrap gives these names

#define WRAPPED_CALL(result, name, parameters)                                                                         \
    extern "C" decltype(&::name) __real___imp_##name;                                                                  \
    static result WINAPI Wrapped##name parameters noexcept;                                                            \
    extern "C"                                                                                                         \
    {                                                                                                                  \
        decltype(&::name) __wrap___imp_##name = &Wrapped##name;                                                        \
    }                                                                                                                  \
    static result WINAPI Wrapped##name parameters noexcept

#define REAL_CALL(name) __real___imp_##name

// NOLINTEND(bugprone-reserved-identifier)
