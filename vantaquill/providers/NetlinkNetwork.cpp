#include "vantaquill/providers/NetlinkNetwork.hpp"

#include "BrindKit/system/VPNDetector.hpp"

#include <QSocketNotifier>

#include <linux/if.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vq {

namespace {

constexpr std::size_t receiveBufferBytes = 32 * 1024;

std::string systemError(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

/// Sends one dump request on a socket of its own and hands every answer message to `each`.
template <typename Body, typename Each>
std::expected<void, std::string> dump(std::uint16_t type, const Body& body, Each&& each) {
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd < 0)
        return std::unexpected(systemError("rtnetlink socket"));
    struct {
        nlmsghdr header;
        Body body;
    } request{};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof(Body));
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.header.nlmsg_seq = 1;
    request.body = body;
    if (::send(fd, &request, request.header.nlmsg_len, 0) < 0) {
        const auto error = systemError("rtnetlink request");
        ::close(fd);
        return std::unexpected(error);
    }
    std::array<char, receiveBufferBytes> buffer{};
    for (;;) {
        const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            const auto error = systemError("rtnetlink answer");
            ::close(fd);
            return std::unexpected(error);
        }
        auto remaining = static_cast<unsigned>(got);
        for (auto* message = reinterpret_cast<nlmsghdr*>(buffer.data()); NLMSG_OK(message, remaining);
             message = NLMSG_NEXT(message, remaining)) {
            if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) {
                ::close(fd);
                return {};
            }
            each(message);
        }
        if (got == 0)
            break;
    }
    ::close(fd);
    return {};
}

std::string attributeText(const rtattr* attribute) {
    const auto* data = static_cast<const char*>(RTA_DATA(attribute));
    return std::string(data, strnlen(data, RTA_PAYLOAD(attribute)));
}

} // namespace

std::expected<std::unique_ptr<NetlinkNetwork>, std::string> NetlinkNetwork::open(std::function<void()> changed) {
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (fd < 0)
        return std::unexpected(systemError("rtnetlink socket"));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        const auto error = systemError("rtnetlink bind");
        ::close(fd);
        return std::unexpected(error);
    }
    return std::unique_ptr<NetlinkNetwork>(new NetlinkNetwork(fd, std::move(changed)));
}

NetlinkNetwork::NetlinkNetwork(int socket, std::function<void()> changed)
    : socket_(socket), changed_(std::move(changed)),
      notifier_(std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read)) {
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        // Only that something changed matters; the whole state is read afresh.
        std::array<char, receiveBufferBytes> buffer{};
        while (::recv(socket_, buffer.data(), buffer.size(), 0) > 0) {
        }
        changed_();
    });
}

NetlinkNetwork::~NetlinkNetwork() {
    notifier_.reset();
    ::close(socket_);
}

std::expected<brind::NetworkSnapshot, std::string> NetlinkNetwork::read() const {
    std::vector<Link> links;
    ifinfomsg linkRequest{};
    linkRequest.ifi_family = AF_UNSPEC;
    const auto listed = dump(RTM_GETLINK, linkRequest, [&links](const nlmsghdr* message) {
        if (message->nlmsg_type != RTM_NEWLINK)
            return;
        const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(message));
        Link link;
        link.index = info->ifi_index;
        link.up = (info->ifi_flags & IFF_UP) && (info->ifi_flags & IFF_LOWER_UP);
        if (info->ifi_flags & IFF_LOOPBACK)
            link.interface.kind = brind::NetworkInterface::Kind::loopback;
        else
            link.interface.kind = brind::NetworkInterface::kindOfHardwareType(info->ifi_type);
        unsigned length = IFLA_PAYLOAD(message);
        for (const auto* attribute = IFLA_RTA(info); RTA_OK(attribute, length); attribute = RTA_NEXT(attribute, length)) {
            if (attribute->rta_type == IFLA_IFNAME)
                link.interface.name = attributeText(attribute);
            if (attribute->rta_type != IFLA_LINKINFO)
                continue;
            unsigned nestedLength = RTA_PAYLOAD(attribute);
            for (const auto* nested = static_cast<const rtattr*>(RTA_DATA(attribute)); RTA_OK(nested, nestedLength);
                 nested = RTA_NEXT(nested, nestedLength)) {
                if (nested->rta_type == IFLA_INFO_KIND) {
                    if (const auto kind = brind::NetworkInterface::kindOfLinkType(attributeText(nested)))
                        link.interface.kind = kind;
                }
            }
        }
        links.push_back(std::move(link));
    });
    if (!listed)
        return std::unexpected(listed.error());

    std::vector<int> defaultRoutes;
    rtmsg routeRequest{};
    routeRequest.rtm_family = AF_UNSPEC;
    const auto routed = dump(RTM_GETROUTE, routeRequest, [&defaultRoutes](const nlmsghdr* message) {
        if (message->nlmsg_type != RTM_NEWROUTE)
            return;
        const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(message));
        if (route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST)
            return;
        unsigned table = route->rtm_table;
        std::vector<int> devices;
        unsigned length = RTM_PAYLOAD(message);
        for (const auto* attribute = RTM_RTA(route); RTA_OK(attribute, length); attribute = RTA_NEXT(attribute, length)) {
            if (attribute->rta_type == RTA_TABLE)
                std::memcpy(&table, RTA_DATA(attribute), sizeof table);
            if (attribute->rta_type == RTA_OIF) {
                int device = 0;
                std::memcpy(&device, RTA_DATA(attribute), sizeof device);
                devices.push_back(device);
            }
            // A route over several links at once names each next hop's link instead.
            if (attribute->rta_type == RTA_MULTIPATH) {
                auto remaining = static_cast<int>(RTA_PAYLOAD(attribute));
                for (const auto* hop = static_cast<const rtnexthop*>(RTA_DATA(attribute)); RTNH_OK(hop, remaining);
                     remaining -= static_cast<int>(RTNH_ALIGN(hop->rtnh_len)), hop = RTNH_NEXT(hop))
                    devices.push_back(hop->rtnh_ifindex);
            }
        }
        if (table == RT_TABLE_MAIN)
            defaultRoutes.insert(defaultRoutes.end(), devices.begin(), devices.end());
    });
    if (!routed)
        return std::unexpected(routed.error());

    return snapshot(links, defaultRoutes, [](const std::string& name) {
        const std::filesystem::path device = std::filesystem::path("/sys/class/net") / name;
        std::error_code error;
        return std::filesystem::exists(device / "wireless", error) || std::filesystem::exists(device / "phy80211", error);
    });
}

brind::NetworkSnapshot NetlinkNetwork::snapshot(const std::vector<Link>& links, const std::vector<int>& defaultRoutes,
                                                const std::function<bool(const std::string&)>& isWireless) {
    using Kind = brind::NetworkInterface::Kind;
    std::vector<brind::NetworkInterface> up;
    std::vector<const Link*> routed;
    for (const Link& link : links) {
        if (!link.up || link.interface.kind == Kind::loopback)
            continue;
        up.push_back(link.interface);
        if (std::ranges::find(defaultRoutes, link.index) != defaultRoutes.end())
            routed.push_back(&link);
    }
    const auto wireless = [&isWireless](const Link& link) {
        return link.interface.kind == Kind::wifi || isWireless(link.interface.name);
    };
    const auto tunnel = [](const Link& link) {
        return link.interface.kind && brind::VPNDetector::isTunnel(*link.interface.kind);
    };
    brind::NetworkSnapshot snapshot;
    snapshot.linkUp = !up.empty();
    snapshot.online = !routed.empty();
    snapshot.vpn = brind::VPNDetector::isVPN(std::span<const brind::NetworkInterface>(up));
    // The path's own link: the one under the default route, or under a tunnel that carries it.
    const bool onlyTunnels = std::ranges::all_of(routed, [&tunnel](const Link* link) { return tunnel(*link); });
    for (const Link& link : links) {
        const bool carries = std::ranges::find(routed, &link) != routed.end();
        if (link.up && wireless(link) && (carries || (onlyTunnels && snapshot.online)))
            snapshot.wifi = true;
    }
    return snapshot;
}

} // namespace vq
