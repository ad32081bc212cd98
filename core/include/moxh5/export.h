/* Export macros of the MOXH5 library; C and C++.
 *
 * MOXH5_API marks what the library exports. On Windows the export table comes
 * from core/moxh5.def alone, so the build marks nothing, a host that loads
 * moxh5.dll imports, and the project's in-process tests (static build) define
 * MOXH5_STATIC. Elsewhere it keeps the marked names visible when the rest of
 * the library is built with hidden visibility.
 *
 * MOXH5_CALL is the calling convention of every C function of moxh5_c.h and
 * of every callback a host hands to it: __cdecl on Windows, so that a host
 * compiled with another default convention still agrees with the library.
 */
#ifndef MOXH5_EXPORT_H
#define MOXH5_EXPORT_H

#if defined(_WIN32)
#if defined(MOXH5_BUILDING) || defined(MOXH5_STATIC)
#define MOXH5_API
#else
#define MOXH5_API __declspec(dllimport)
#endif
#define MOXH5_CALL __cdecl
#else
#define MOXH5_API __attribute__((visibility("default")))
#define MOXH5_CALL
#endif

#endif /* MOXH5_EXPORT_H */
