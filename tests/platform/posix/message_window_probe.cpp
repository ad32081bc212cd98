#include "message_window_probe.h"

namespace moxh5::test {

// No message windows on POSIX desktops.
MessageWindowProbe::MessageWindowProbe() = default;
MessageWindowProbe::~MessageWindowProbe() = default;
std::optional<ProbeMessage> MessageWindowProbe::Take(uint32_t) { return std::nullopt; }

}  // namespace moxh5::test
