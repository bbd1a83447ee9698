#include "net/DescriptorIo.h"

#include <fcntl.h>
#include <poll.h>
#include <system_error>

#include "net/SystemCall.h"

namespace OrynRti {

void awaitReady(int descriptor, short events) {
    pollfd waited{descriptor, events, 0};
    repeatedCall([&] { return poll(&waited, 1, -1); });
}

int duplicateDescriptor(int descriptor) {
    return checkedCall("dup", [=] { return fcntl(descriptor, F_DUPFD_CLOEXEC, 0); });
}

DtString systemErrorText(int number) {
    return DtString(std::system_category().message(number));
}

}  // namespace OrynRti
