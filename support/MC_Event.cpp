#include "support/MC_Event.h"

// Deliberate: inheritable and open to everyone. The event has no name, so only processes with a handle reach it.
MC_Event::MC_Event() noexcept {
    SECURITY_DESCRIPTOR descriptor = {};
    ::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    ::SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, TRUE};
    event_.Reset(::CreateEventW(&attributes, TRUE, FALSE, nullptr));
}

void MC_Event::Set() noexcept {
    if (event_) {
        ::SetEvent(event_.Get());
    }
}

void MC_Event::Reset() noexcept {
    if (event_) {
        ::ResetEvent(event_.Get());
    }
}

bool MC_Event::Wait(uint32_t milliseconds) const noexcept {
    return event_ && ::WaitForSingleObject(event_.Get(), milliseconds) == WAIT_OBJECT_0;
}
