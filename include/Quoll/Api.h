// The export macro of the library's interface.
#pragma once

#if defined(_WIN32)
#if defined(QUOLL_BUILDING)
#define QUOLL_API __declspec(dllexport)
#else
#define QUOLL_API __declspec(dllimport)
#endif
#else
#define QUOLL_API __attribute__((visibility("default")))
#endif
