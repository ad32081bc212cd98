// The host's message centre: the object that owns the host's message window,
// to which native handlers post Windows messages.
//
// The host publishes the object's address, as decimal text, in the process
// environment variable "MsgCenterInst" followed by its process id in decimal
// ("MsgCenterInst4242"). The object's third pointer-sized field is the
// message window's handle.
//
// Threads: any. Nothing is cached: the variable is read on every call.
#pragma once

#include <cstdint>

// The message-centre object, or null when the variable is unset or its text
// (at most its first 49 characters) does not start with a decimal number
// that fits a pointer.
void* GetMsgCenterInstance();

// The message window of the message centre (its third pointer-sized field);
// 0 when there is no message centre.
uintptr_t GetMsgCenterWindow();
