/* Export macros of the MOXH5 library; C and C++.
 *
 * MOXH5_API marks what the library exports, and nothing else leaves it. On
 * Windows the library's build exports the marked names (dllexport), a host
 * that loads moxh5.dll imports them, and the project's in-process tests
 * (static build) define MOXH5_STATIC. Elsewhere it keeps the marked names
 * visible while the rest of the library is built with hidden visibility.
 *
 * MOXH5_CALL is the calling convention of every C function of moxh5_c.h and
 * of every callback a host hands to it: __cdecl on Windows, so that a host
 * compiled with another default convention still agrees with the library.
 */
#ifndef MOXH5_EXPORT_H
#define MOXH5_EXPORT_H

#if defined(_WIN32)
#if defined(MOXH5_STATIC)
#define MOXH5_API
#elif defined(MOXH5_BUILDING)
#define MOXH5_API __declspec(dllexport)
#else
#define MOXH5_API __declspec(dllimport)
#endif
#define MOXH5_CALL __cdecl
#else
#define MOXH5_API __attribute__((visibility("default")))
#define MOXH5_CALL
#endif

#endif /* MOXH5_EXPORT_H */
