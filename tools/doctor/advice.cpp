#include "advice.h"

#include <algorithm>
#include <stdexcept>

namespace kx::tools {
namespace {

constexpr char kGroupAsked[] = "answers to a Probe that was sent to the group through {adapter}";
constexpr char kDirectAsked[] = "answers to a Probe that was sent straight to the recorder";
constexpr char kSocketsSeen[] =
    "the sockets on UDP port 3702 and the members of group 239.255.255.250";
constexpr char kProbesSeen[] = "the Probes that came to {adapter} and the answers that left";
constexpr char kAdapterSeen[] = "the adapter";

/// Each name is a heading in docs/operations.md; scripts/check-docs compares them.
const std::vector<Advice> kAdvice{
    // Findings on a client.
    {"found", "", kGroupAsked, "clients on this machine find the recorder", "", {}},
    {"answers-blocked-here",
     "",
     "the answers that came to {adapter}, and those that a program receives",
     "the answer reaches this machine, and its firewall drops it: an answer to the group belongs "
     "to no connection that the firewall knows",
     "let UDP source port 3702 in, with the command of your firewall:",
     {"nft insert rule inet filter input udp sport 3702 accept",
      "ufw allow in proto udp from any port 3702",
      "firewall-cmd --permanent --add-service=ws-discovery-client && firewall-cmd --reload"}},
    {"answers-blocked-here",
     "reverse-path",
     "the answers that came to {adapter}, and those that a program receives",
     "the answer reaches this machine, and reverse-path filtering drops it: the route to {source} "
     "does not leave by {adapter}",
     "give this machine an address in the recorder's subnet, or a route to it by {adapter}. If the "
     "other route is intended, filter loosely, with the last command:",
     {"ip route get {source}", "sysctl -w net.ipv4.conf.all.rp_filter=2"}},
    {"group-lost",
     "",
     "answers to a Probe to the group, and to one straight to {target}",
     "the recorder runs and can be reached, but Probes to the group do not reach it: a switch with "
     "IGMP snooping and no querier, an access point that filters multicast, a router between, or "
     "the recorder has not joined the group",
     "behind a router it is found by its address alone, with the first command. In one network, "
     "turn on an IGMP querier or turn snooping off, and on the recorder run the second:",
     {"pelorin-probe --to {target}", "pelorin-doctor recorder"}},
    {"direct-lost",
     "",
     kDirectAsked,
     "the Probe to the group is answered, the one to {target} is not: another program on the "
     "recorder takes what is sent to its address, or the route or a firewall keeps it away",
     "on the recorder run the first command, on this machine the second:",
     {"pelorin-doctor recorder", "ip route get {target}"}},
    {"address-mismatch",
     "",
     "the addresses in XAddrs of the answers",
     "the recorder advertises {advertised} but answers from {source}: its address has changed and "
     "its server has not told the plug-in, the server names another adapter's address, or there is "
     "a NAT between",
     "let the server send its document with the current address, or restart the server. On the "
     "recorder run:",
     {"pelorin-doctor recorder"}},
    {"other-devices-only",
     "",
     kGroupAsked,
     "the network carries Probes and answers, but no recorder takes part",
     "see that the recorder runs and is in this network. On the recorder run:",
     {"pelorin-doctor recorder"}},
    {"nothing-came",
     "",
     kGroupAsked,
     "no recorder in this network, or its firewall, a switch or an access point keeps the Probe or "
     "the answer away",
     "on the recorder run the first command; on this machine ask the recorder directly:",
     {"pelorin-doctor recorder", "pelorin-doctor client --adapter {adapter} --to ADDRESS"}},
    {"nothing-came",
     "target",
     "answers to a Probe to the group, and to one straight to {target}",
     "{target} is not a recorder, is switched off, or a firewall or the route keeps the Probe or "
     "the answer away",
     "on the recorder run the first command, on this machine the second:",
     {"pelorin-doctor recorder", "ip route get {target}"}},
    {"nothing-came",
     "not-sent",
     kGroupAsked,
     "the Probe did not leave this machine",
     "let UDP port 3702 out of this machine's firewall, and see that there is a route",
     {"nft insert rule inet filter output udp dport 3702 accept", "ip route get 239.255.255.250"}},
    {"nothing-came",
     "target-not-sent",
     "answers to a Probe to the group, and to one straight to {target}",
     "the Probe to {target} did not leave this machine",
     "correct the route, or let UDP port 3702 out of this machine's firewall",
     {"ip route get {target}", "nft insert rule inet filter output udp dport 3702 accept"}},
    // Findings on a recorder.
    {"listening", "", kSocketsSeen, "the plug-in listens on {adapter}", "", {}},
    {"not-listening",
     "",
     kSocketsSeen,
     "no recorder answers here: the server does not run, does not name this adapter or not its "
     "address, or the plug-in waits to try again",
     "see that the server runs and names {adapter} with its address; the last records in its log "
     "tell why an endpoint failed",
     {"ip -4 addr show dev {adapter}"}},
    {"not-listening",
     "no-group",
     kSocketsSeen,
     "Probes to the group do not reach the recorder",
     "restart the server, after the adapter has the address that the server names",
     {"ip maddr show dev {adapter}"}},
    {"not-listening",
     "answering",
     kSocketsSeen,
     "something answers Probes here, but it is not bound to the device as the plug-in is",
     "",
     {}},
    {"not-listening",
     "elsewhere",
     kSocketsSeen,
     "the group is joined here for a socket that is bound to another adapter, see wrong-device",
     "",
     {}},
    {"port-taken",
     "",
     kSocketsSeen,
     "another program has UDP port 3702 to itself, so the plug-in cannot bind it",
     "stop that program, or let it share the port (SO_REUSEADDR)",
     {"ss -uanp 'sport = :3702'"}},
    {"port-shared",
     "",
     "the socket that takes what is sent to the recorder's own address",
     "another program takes direct Probes, since it is bound to the address; Probes to the group "
     "still reach the recorder",
     "stop the other program, or give it another adapter or address",
     {"ss -uanp 'sport = :3702'"}},
    {"port-shared",
     "device",
     "the socket that takes what is sent to the recorder's own address",
     "two programs are bound to the device, and the one that was bound last takes direct Probes; "
     "Probes to the group reach both",
     "stop one of them",
     {"ss -uanp 'sport = :3702'"}},
    {"wrong-device",
     "",
     kSocketsSeen,
     "the server names one adapter's Handle with another adapter's IPAddress, so Probes to the "
     "group do not reach the socket",
     "let the server name Handle and IPAddress of the same adapter",
     {"ip -4 addr"}},
    {"probe-answered", "", kProbesSeen, "this machine does its part", "", {}},
    {"probes-blocked",
     "",
     kProbesSeen,
     "a firewall on this machine drops the Probe or the answer. If it lets both pass, the client "
     "or the router on the way to it does not answer ARP: the last command shows it as FAILED",
     "let UDP port 3702 in, and out where output is filtered too, with the commands of your "
     "firewall:",
     {"nft insert rule inet filter input udp dport 3702 accept",
      "nft insert rule inet filter output udp sport 3702 accept", "ufw allow 3702/udp",
      "firewall-cmd --permanent --add-port=3702/udp && firewall-cmd --reload",
      "ip neigh show dev {adapter}"}},
    {"reverse-path",
     "",
     kProbesSeen,
     "reverse-path filtering drops the Probe, since the route back to {prober} does not leave by "
     "{adapter}",
     "give this machine an address in the client's subnet, or a route to it by {adapter}. If the "
     "other route is intended, filter loosely, with the last command:",
     {"ip route get {prober}", "sysctl -w net.ipv4.conf.all.rp_filter=2"}},
    {"no-probe-came",
     "",
     kProbesSeen,
     "if a client asked meanwhile, the fault lies before this machine: in the client's firewall, a "
     "switch, an access point, or another subnet",
     "on the client run:",
     {"pelorin-doctor client --to {own}"}},
    {"no-probe-came",
     "others",
     kProbesSeen,
     "Probes reach this machine, but a recorder does not answer them: they seek other devices, "
     "name the type in another way, are too long, or come from a source that cannot be answered",
     "on the client run:",
     {"pelorin-doctor client --to {own}"}},
    {"receive-drops",
     "",
     "the receive buffer of the recorder's socket",
     "more Probes arrived within a moment than the buffer holds, or the recorder was busy",
     "allow a larger buffer, then restart the server; keep floods out",
     {"sysctl -w net.core.rmem_max=1048576"}},
    {"receive-drops",
     "full-size",
     "the receive buffer of the recorder's socket",
     "more Probes arrived within a moment than the buffer holds, or the recorder was busy; the "
     "plug-in asks for no larger buffer",
     "look at the load of this machine, and keep floods away from UDP port 3702",
     {}},
    {"receive-drops",
     "capped",
     "the receive buffer of the recorder's socket",
     "the system allows less than the 1048576 bytes that the plug-in asks for; enough, unless "
     "hundreds of Probes arrive within a moment",
     "if crowds ask here, allow a larger buffer, then restart the server",
     {"sysctl -w net.core.rmem_max=1048576"}},
    // Findings on either side.
    {"no-adapter",
     "",
     kAdapterSeen,
     "the name is misspelt, or the adapter is unplugged",
     "take one of these:",
     {"ip -br addr"}},
    {"no-adapter",
     "no-address",
     kAdapterSeen,
     "discovery needs an IPv4 address",
     "give the adapter an address, or wait for DHCP",
     {"ip -4 addr show dev {adapter}"}},
    {"no-adapter",
     "none",
     kAdapterSeen,
     "this machine is in no IPv4 network; --adapter lo looks at loopback",
     "give an adapter an address",
     {"ip -br addr"}},
    {"link-down",
     "",
     kAdapterSeen,
     "nothing is sent or received there",
     "switch it on",
     {"ip link set dev {adapter} up"}},
    {"link-down",
     "no-carrier",
     kAdapterSeen,
     "nothing is sent or received there",
     "look at the cable, and at the port of the switch; leave an adapter that is not in use out "
     "with --adapter",
     {"ip link show dev {adapter}"}},
    {"no-multicast",
     "",
     kAdapterSeen,
     "the adapter carries no multicast, so the group is not reached",
     "switch multicast on, or use the network's own adapter instead of a tunnel",
     {"ip link set dev {adapter} multicast on"}},
    {"left-out",
     "",
     "what crosses the adapter",
     "the checks that need a packet socket were left out, so nothing is known of them",
     "run it as root, or with CAP_NET_RAW",
     {}},
};

} // namespace

const Advice& AdviceFor(const Finding& finding)
{
    const auto advice = std::find_if(kAdvice.begin(), kAdvice.end(), [&](const Advice& each) {
        return finding.name == each.name && finding.variant == each.variant;
    });
    if (advice == kAdvice.end())
        throw std::logic_error("no advice for " + finding.name + " " + finding.variant);
    return *advice;
}

std::string FillIn(const std::string& text, const Finding& finding)
{
    std::string filled;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t open = std::min(text.find('{', begin), text.size());
        const std::size_t close = std::min(text.find('}', open), text.size());
        filled += text.substr(begin, open - begin);
        begin = close + 1;
        if (open == text.size())
            break;
        const std::string word = text.substr(open + 1, close - open - 1);
        filled +=
            word == "adapter" ? finding.adapter : finding.evidence.at(word).get<std::string>();
    }
    return filled;
}

} // namespace kx::tools
