// Names of the answer object's common members and the failure texts that
// pages rely on. The three "Invalid param..." texts differ on purpose: pages
// tell the failures apart by them.
#pragma once

namespace moxh5::key {
inline constexpr char kSuccess[] = "success";
inline constexpr char kMessage[] = "message";
inline constexpr char kData[] = "data";
inline constexpr char kSupport[] = "support";
// True: the answer reaches a render page some other way; the unified callback
// stays silent for render pages.
inline constexpr char kNoNeedUnifyCallBack[] = "NoNeedUnifyCallBack";
// True: the answer comes later; the unified callback stays silent.
inline constexpr char kAsynExec[] = "AsynExec";
inline constexpr char kMethod[] = "method";
inline constexpr char kParams[] = "params";
}  // namespace moxh5::key

namespace moxh5::text {
inline constexpr char kInvalidMethod[] = "Invalid method.";
// The call's params missing or not an object.
inline constexpr char kInvalidParams[] = "Invalid params.";
// A method's own key missing or empty.
inline constexpr char kInvalidParam[] = "Invalid param.";
// A parameter record that cannot be bound.
inline constexpr char kInvalidParamRecord[] = "Invalid Param.";
inline constexpr char kNoActionInterface[] = "Native impl instance is null.";
// Later work the library cannot record: the page has too much work out.
inline constexpr char kTooMuchPendingWork[] = "Too many pending calls.";
}  // namespace moxh5::text
