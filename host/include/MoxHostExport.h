// Export macro of the host-library stand-ins (logging, reports, JSON getters,
// business access). The stand-ins build as their own shared library, as the
// host's real libraries do, so that the host and MOXH5 share one log sink and
// one report sink.
#pragma once

#if defined(_WIN32)
#if defined(MOXHOST_BUILDING)
#define MOXHOST_API __declspec(dllexport)
#else
#define MOXHOST_API __declspec(dllimport)
#endif
#else
#define MOXHOST_API __attribute__((visibility("default")))
#endif
