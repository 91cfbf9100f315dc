#include "Vellomir/Sending/InterfaceAddress.h"

#include "Vellomir/Sending/SendingFault.h"
#include "files/FileDescriptor.h"

#include <algorithm>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>

namespace vellomir {
namespace {

/// The own address on the way to an address that no computer has. Nothing is sent.
std::optional<IpAddress> addressOfDefaultRoute() {
    const auto far = IpAddress::parse("198.51.100.1"); // reserved for documentation
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_storage address{};
    const socklen_t size = far->store(address, 9);
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (!socket.isOpen() || ::connect(socket.get(), generic, size) != 0)
        return std::nullopt;
    socklen_t length = sizeof address;
    if (::getsockname(socket.get(), generic, &length) != 0)
        return std::nullopt;
    return IpAddress::of(generic);
}

std::vector<InterfaceAddress> addressesInOrderOfSystem() {
    ifaddrs *first = nullptr;
    if (::getifaddrs(&first) != 0)
        throw SendingFault("The system does not list its network interfaces");
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(first, ::freeifaddrs);
    std::vector<InterfaceAddress> found;
    for (const ifaddrs *each = first; each != nullptr; each = each->ifa_next) {
        constexpr unsigned up = IFF_UP | IFF_RUNNING;
        const auto address = IpAddress::of(each->ifa_addr);
        if (address && (each->ifa_flags & up) == up && !address->isLinkLocalIPv6())
            found.push_back({.interface = each->ifa_name,
                             .address = *address,
                             .isPointToPoint = (each->ifa_flags & IFF_POINTOPOINT) != 0});
    }
    return found;
}

bool isLocal(const InterfaceAddress &each) {
    return each.address.isPrivate() && !each.isPointToPoint;
}

} // namespace

std::vector<InterfaceAddress> interfaceAddresses() {
    std::vector<InterfaceAddress> found = addressesInOrderOfSystem();
    const auto main = addressOfDefaultRoute();
    const auto ofMain = std::find_if(found.begin(), found.end(), [&](const InterfaceAddress &each) {
        return main == each.address;
    });
    const std::string first = ofMain == found.end() ? std::string() : ofMain->interface;
    std::stable_sort(found.begin(), found.end(), [&](const auto &left, const auto &right) {
        const bool isLeftMain = left.interface == first;
        const bool isRightMain = right.interface == first;
        if (isLeftMain != isRightMain)
            return isLeftMain;
        return !left.address.isIPv6() && right.address.isIPv6();
    });
    return found;
}

std::string interfaceNames(const std::vector<InterfaceAddress> &all) {
    std::vector<std::string> names;
    std::string text;
    for (const InterfaceAddress &each : all) {
        if (std::find(names.begin(), names.end(), each.interface) != names.end())
            continue;
        names.push_back(each.interface);
        text += (text.empty() ? "" : ", ") + each.interface;
    }
    return text;
}

std::vector<InterfaceAddress> servedAddresses(const std::vector<InterfaceAddress> &all,
                                              const std::optional<std::string> &interface) {
    std::vector<InterfaceAddress> chosen;
    std::copy_if(all.begin(), all.end(), std::back_inserter(chosen),
                 [&](const InterfaceAddress &each) {
                     return interface ? each.interface == *interface : isLocal(each);
                 });
    if (!chosen.empty())
        return chosen;
    if (!interface)
        throw SendingFault("This computer is in no local network");
    throw SendingFault(
        "There is no network interface \"" + *interface +
        "\" that is up and has an address; those that have one: " + interfaceNames(all));
}

} // namespace vellomir
