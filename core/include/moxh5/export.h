// Export macro of the MOXH5 library. A host that loads moxh5.dll defines
// nothing; the project's in-process tests link the static build and define
// MOXH5_STATIC.
#pragma once

#if defined(_WIN32)
#if defined(MOXH5_BUILDING)
#define MOXH5_API __declspec(dllexport)
#elif defined(MOXH5_STATIC)
#define MOXH5_API
#else
#define MOXH5_API __declspec(dllimport)
#endif
#else
#define MOXH5_API __attribute__((visibility("default")))
#endif
