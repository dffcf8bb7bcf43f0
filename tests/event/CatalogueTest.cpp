#include "tests/doc/xml/Trees.h"
#include "zeb/event/CloudEvents.h"
#include "zeb/event/ConfigurationEvents.h"
#include "zeb/event/DhcpEvents.h"
#include "zeb/event/DomainEvents.h"
#include "zeb/event/FilterEvents.h"
#include "zeb/event/HostEvents.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/InterfaceLinkEvents.h"
#include "zeb/event/IpSecureEvent.h"
#include "zeb/event/KeywordFilterEvents.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/event/MwsEvents.h"
#include "zeb/event/RouteEvents.h"
#include "zeb/event/ServiceEvents.h"
#include "zeb/event/StorageEvents.h"
#include "zeb/event/SystemEvents.h"
#include "zeb/event/UserEvents.h"
#include "zeb/event/VpnEvents.h"
#include "zeb/event/WanEvents.h"
#include "zeb/event/WirelessEvents.h"
#include "zeb/event/ZessEvents.h"

#include <cxxabi.h>
#include <regex>
#include <set>

namespace Event {
namespace {

// The fields of an event as one text.
std::string Shown(CString const& text) { return Text(text); }
std::string Shown(Time::Span const& span) { return Time::Span::String(span).Cstr(); }
std::string Shown(Xml::Document const& document) { return XmlText(document); }
std::string Shown(Util::URI const& uri) {
    String text;
    return uri.Get(text) ? Text(text) : "failed";
}
std::string Joined(unsigned long size, std::function<std::string(unsigned long)> const& item) {
    return size == 0 ? "" : Joined(size - 1, item) + item(size - 1) + ";";
}
std::string Shown(StringMap const& m) {
    return Joined(m.Size(), [&](auto i) { return Text(m.Key(i)) + "=" + Text(m.Get(i)); });
}
std::string Shown(StringVector const& list) {
    return Joined(list.Size(), [&](auto i) { return Text(list[i]); });
}
std::string Shown(Network::TrafficSelector const& selector) {
    return Text(Network::IpBlock::Str(selector.Network())) + " " + std::to_string(selector.Protocol()) + " " +
           std::to_string(selector.PortStart()) + "-" + std::to_string(selector.PortEnd());
}

// A number for a parameter of any type. An unsigned one gets its top bit too, and is shown with the letter of
// its width: what is narrower on the way loses it.
struct Number {
    unsigned long value;

    template<typename T>
    requires(std::is_enum_v<T> || std::is_integral_v<T>) operator T() const {
        return static_cast<T>(std::is_unsigned_v<T> ? value | 1ul << (8 * sizeof(T) - 1) : value);
    }
};
constexpr Number operator""_n(unsigned long long value) { return {value}; }
std::string ShownNumber(unsigned long value) {
    for (auto const& [bit, width] : {std::pair(63, "q"), {31, "d"}, {15, "w"}, {7, "b"}})
        if (value >> bit & 1) return std::to_string(value ^ 1ul << bit) + width;
    return std::to_string(value);
}
template<typename T>
std::string Shown(T const& value) {
    if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>)
        return ShownNumber(static_cast<unsigned long>(value));
    else if constexpr (std::is_base_of_v<Network::Ip6::CBlock, T>)
        return Text(Network::Ip6::CBlock::Str(value));
    else if constexpr (std::is_convertible_v<T, CString>)
        return Text(value);
    else
        return Text(typename T::Str(value));
}
template<typename... T>
std::string Show(Base const&, T const&... fields) {
    std::string text;
    ((text += Shown(fields) + "|"), ...);
    return text.substr(0, text.size() - 1);
}

// FIELDS(A, B): what shows the fields that the accessors A and B of an event give.
#define EXPAND(...) EXPAND2(EXPAND2(EXPAND2(EXPAND2(EXPAND2(__VA_ARGS__)))))
#define EXPAND2(...) EXPAND1(EXPAND1(EXPAND1(EXPAND1(EXPAND1(__VA_ARGS__)))))
#define EXPAND1(...) __VA_ARGS__
#define NO_ARGUMENTS ()
#define CALL(name, ...) , e.name() __VA_OPT__(CALL_AGAIN NO_ARGUMENTS(__VA_ARGS__))
#define CALL_AGAIN() CALL
#define FIELDS(...) [](auto& e) { return Show(e EXPAND(CALL(__VA_ARGS__))); }

// An event with that body, printed.
std::string Body(Base const& event) {
    Xml::Document document;
    Xml::Node& node = *document.AppendElement("event");
    return event.PrintXmlBody_(node) ? XmlText(node) : "failed";
}

// Values of fields; equal numbers give equal values.
Time::Span const SPAN(1, 500);
Network::IpAddress Ip(unsigned last) { return 0x0A000000 + last; }
Network::IpBlock const NET(Ip(9), Network::IpMask::__8_BIT);
Network::Ip6::Address Ip6(unsigned char last) { return in6_addr{{{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last}}}; }
Network::Ip6::CBlock const CBLOCK(Ip6(1), 64);
Network::Ip6::Block const NET6(CBLOCK);
Network::Ip6::Prefix const PREFIX(Ip6(0), 10);
Network::MacAddress Mac(unsigned char last) {
    return Network::MacAddress(std::array<unsigned char, 6>{2, 0, 0, 0, 0, last}.data());
}
Network::TrafficSelector Selector(unsigned protocol) { return Network::TrafficSelector(NET, protocol, 1, 2); }

struct Row {
    std::string ident;
    std::type_info const& type;
    std::string shown;
    std::function<Base*()> make;
    std::function<std::string(Base const&)> show;
};

std::vector<Row> rows;

// Events of the classes, made of the arguments, and what their accessors give in the order of the class.
template<class... EventsT, typename ShowT, typename... ArgumentsT>
void Of(char const* shown, ShowT show, ArgumentsT... arguments) {
    (rows.push_back({EventsT::IDENT, typeid(EventsT), shown, [=]() -> Base* { return new (std::nothrow) EventsT(arguments...); },
                     [=](Base const& event) { return show(dynamic_cast<EventsT const&>(event)); }}),
     ...);
}
template<class... EventsT, typename... ArgumentsT>
void Bare(ArgumentsT... arguments) {
    auto const nothing = [](auto&) { return ""; };
    Of<EventsT...>("", nothing, arguments...);
}

// clang-format off
// What several rows of a class show.
auto const dhcpLease = FIELDS(Action, HostName, DeviceName, ModeName, InterfaceId, Ip, Mac, Via, Expires);
auto const ipSecure = FIELDS(Action, IkeProtocol, Mode, UniqueName, RemoteEndpointId, RemoteEndpoint, LocalEndpoint,
    LocalEndpointId, Local, Remote, IkeLifetime, SaLifetime, IsAggressive, NailUp, ForceEncaps, SecurityLevel, Auth, Version,
    PreSharedKey, Password, ClientCaCert, XfrmIndex, Debug);
auto const lockout = FIELDS(Id, Action, Client4, Client6);
auto const policy = FIELDS(Name, Index, Action, Mark, DnsPort, DnsRpcPort, Wan, Multipath);
auto const ppe = FIELDS(Address, Address6, Mac, AddressType, Type, Action);
auto const route = FIELDS(Action, Type, Id, Interface, SystemName, Destination, Gateway, Metric);
auto const zessCookie = FIELDS(Cookie);
auto const zessNotify = FIELDS(Id, ServiceHost, Xml, Protocol);

// Every class, and every constructor. Numbers and letters of arguments rise, so that no two can be mistaken.
std::vector<Row> const& Catalogue() {
    if (!rows.empty()) return rows;
    static StringMap keys;
    static StringVector letters;
    static Xml::Document document;
    static Util::URI const address("http", "b", "/c", "d", "e");
    EXPECT_TRUE(keys.Set("k", "v") && letters.PushBack("x") && letters.PushBack("y"));
    document.AppendElement("n", "text")->AppendAttribute("id", "7");
    auto const map = std::cref(keys);
    auto const list = std::cref(letters);
    auto const uri = std::cref(address);
    Of<Acl, Acl6, IpSet, ObjectGroup>("1|b", FIELDS(Action, Name), 1_n, "b");
    Of<AuditLog>("1|b|c|d|e", FIELDS(Action, UserName, ScgiAgent, RemoteAddr, SessionId), 1_n, "b", "c", "d", "e", "f");
    Bare<BandSteeringChanged, CallSync, CloudSettingsChanged, ConfigurationSaved, CountryChanged, CwmpSessionFinished,
        DnsListUpdated, Heartbeat, Ip6PrefixesChanged, Ip6SubnetsChanged, IrqSetChanged, MwsWlan, NtpClientChanged,
        SystemShutdown, UpdatesAvailable>();
    Of<ChilliHost>("1|10.0.0.1|02:00:00:00:00:01|13q|14q", FIELDS(Action, Address, Mac, TxSpeedLimit, RxSpeedLimit), 1_n, Ip(1),
        Mac(1), 13_n, 14_n);
    Bare<CloudReady>(1_n);
    Of<ConfigurationAgent, Domain, Host>("a", FIELDS(Name), "a");
    Of<CwmpNotificationRequired>("1|10q", FIELDS(Code, ZebId), 10_n, 1_n);
    Of<DbKey>("a|11q|12q|1", FIELDS(Name, OldValue, NewValue, Stat), "a", 11_n, 12_n, 1_n);
    Of<Device>("1", FIELDS(Action), 1_n);
    Of<DhcpLease>("1|b|c|d|e|10.0.0.1|02:00:00:00:00:01|02:00:00:00:00:02|1.500000", dhcpLease, 1_n, "b", "c", "d", "e", Ip(1),
        Mac(1), Mac(2), SPAN);
    Of<DhcpLease>("1|||||10.0.0.1|02:00:00:00:00:01|00:00:00:00:00:00|0.000000", dhcpLease, 1_n, Ip(1), Mac(1));
    Of<DhcpOption>("1|b|c", FIELDS(Code, InterfaceId, Value), 1_n, "b", "c");
    Of<DhcpPool>("a|b", FIELDS(Name, InterfaceId), "a", "b");
    Of<DocumentAccepted>("1", FIELDS(Type), 1_n);
    Of<FailSafeState>("1", FIELDS(IsOn), true);
    Of<Fs>("1|2|NTFS|c|d|e|f|g|1|0", FIELDS(Action, Type, TypeName, Name, Label, Storage, Directory, SystemDirectory,
        IsUserMountable, IsUserPluggable), 1_n, 2_n, "c", "d", "e", "f", "g", true, false);
    Of<HostKeywordFilter>("1|02:00:00:00:00:01|x;y;", FIELDS(Action, Mac, Profiles), 1_n, Mac(1), list);
    Of<HostPolicy>("c|1|02:00:00:00:00:01", FIELDS(Policy, Action, Mac), 1_n, Mac(1), "c");
    Of<HostPriorityChanged>("02:00:00:00:00:01|11b", FIELDS(Mac, Priority), Mac(1), 11_n);
    Of<IfaceKeywordFilter>("1|b|12d|x;y;", FIELDS(Action, IfaceId, InterfaceIdx, Profiles), 1_n, "b", 12_n, list);
    Of<IfAuth>("a|1", FIELDS(Id, Authorized), "a", 1_n);
    Of<IfCreated>("1|b|c|d", FIELDS(CreateType, Id, SystemName, ParentId), 1_n, "b", "c", "d");
    Of<IfDebug>("a|b|1", FIELDS(Id, SystemName, Debug), "a", "b", 1_n);
    Of<IfDestroyed>("a|b|c|1.500000", FIELDS(Id, SystemName, ParentId, CreatedTime), "a", "b", "c", SPAN);
    Of<IfDomainChanged>("a|b|c", FIELDS(Id, SystemName, Domain), "a", "b", "c");
    Of<IfGlobalChanged>("a|b|c|13q|1|1.500000", FIELDS(Id, Name, SystemName, GlobalPriority, IsGlobal, CreatedTime), "a", "b",
        "c", 13_n, SPAN);
    Of<IfGroup>("1|2|c|d|e|f|g|h|3|4|5|6|1.500000|2.500000", FIELDS(Action, Inherit, Id, Name, SystemName, Group, GroupName,
        GroupSystemName, IsLinkUp, IsConnected4, IsConnected6, IsIfUp, CreatedTime, GroupCreatedTime), 1_n, 2_n, "c", "d", "e",
        "f", "g", "h", 3_n, 4_n, 5_n, 6_n, SPAN, Time::Span(2, 500));
    Of<IfIp4Changed>("a|b|c|10.0.0.9/8|1|2|3|17q|1.500000", FIELDS(Id, Name, SystemName, Address, Static, Type, Action,
        GlobalPriority, CreatedTime), "a", "b", "c", NET, 1_n, 2_n, 3_n, 17_n, SPAN);
    Of<IfIp6Changed>("1|b|c|d|fe80::1/64|3|16q|1.500000", FIELDS(Action, Id, Name, SystemName, Address, Prototype, GlobalPriority,
        CreatedTime), 1_n, "b", "c", "d", NET6, 3_n, 16_n, SPAN);
    Of<IfIp6SystemChanged>("1|11d|fe80::1/64", FIELDS(Action, SystemIndex, Address), 1_n, 11_n, NET6);
    Of<IfLaggModeChanged>("a|1|1|12q", FIELDS(Id, Mode, IsLaggActive, Group), "a", 1_n, 12_n);
    Of<IfLayerChanged>("a|b|1|2", FIELDS(Id, SystemName, Layer, Level), "a", "b", 1_n, 2_n);
    Of<IfLinkSpeedChanged>("a|11q|12q", FIELDS(Id, SpeedRx, SpeedTx), "a", 11_n, 12_n);
    Of<IfMacChanged>("a|b|02:00:00:00:00:01", FIELDS(Id, SystemName, Address), "a", "b", Mac(1));
    Of<IfMtuChanged>("a|b|12q", FIELDS(Id, SystemName, Mtu), "a", "b", 12_n);
    Of<IfNameChanged>("a|b|c|1.500000", FIELDS(Id, Name, SystemName, CreatedTime), "a", "b", "c", SPAN);
    Of<IfPeerIsolationChanged, MloChanged, ServiceUp, WpsConfigured, WpsStart>("a", FIELDS(Id), "a");
    Of<IfPrivateChanged>("a|b|c|1|1|1.500000", FIELDS(Id, Name, SystemName, SecurityLevel, IsIsolate, CreatedTime), "a", "b", "c",
        1_n, true, SPAN);
    Of<IfRole>("1|b|c|d|e", FIELDS(Action, Id, SystemName, Role, Ifor), 1_n, "b", "c", "d", "e");
    Of<IfSchedule>("a|b|c", FIELDS(Id, SystemName, Schedule), "a", "b", "c");
    Of<IfSettingsChanged>("a|b|c", FIELDS(Trait, Id, SystemName), "a", "b", "c");
    Of<Internet>("1", FIELDS(HasInternetAccess), true);
    Of<Ip6Wan>("a|b|c|1|14q|f|g|h|18q|fe80::1|fe80::2", FIELDS(Id, Name, SystemName, State, Order, CurrentId, CurrentName,
        CurrentSystemName, CurrentPriority, CurrentIpAddress, CurrentDefaultGateway), "a", "b", "c", 1_n, 14_n, "f", "g", "h",
        18_n, Ip6(1), Ip6(2));
    Of<IpSecCryptoMapChanged>("a|1|0|15q|10.0.0.1|10.0.0.9/8|10.0.0.2", FIELDS(MapName, IsUp, IsDown, Revision, RemotePeer,
        InternalRemote, DnsAddr), "a", true, Ip(1), NET, Ip(2), 15_n);
    Of<IpSecure>("1|2|3|d|e|10.0.0.1|10.0.0.2|f|10.0.0.9/8 1 1-2|10.0.0.9/8 2 1-2|20q|21q|1|0|1|4|5|27q|s|u|v|32q|0", ipSecure,
        1_n, 2_n, 3_n, "d", "e", "f", Ip(1), Ip(2), Selector(1), Selector(2), 20_n, 21_n, true, false, true, 4_n, 5_n, 27_n, "s",
        "t", "u", "v", 32_n, false);
    Of<IpSecure>("1|0|0|c||0.0.0.0|0.0.0.0||0.0.0.0/0 0 0-0|0.0.0.0/0 0 0-0|0|0|0|0|0|2|0|11q||||0|0", ipSecure, 1_n, 11_n, "c");
    Of<IpWan>("a|b|c|13d|1|15q|g|h|i|19d|20q|10.0.0.1|10.0.0.2", FIELDS(Id, Name, SystemName, SystemIndex, State, Order,
        CurrentId, CurrentName, CurrentSystemName, CurrentSystemIndex, CurrentPriority, CurrentIpAddress, CurrentDefaultGateway),
        "a", "b", "c", 13_n, 1_n, 15_n, "g", "h", "i", 19_n, 20_n, Ip(1), Ip(2));
    Of<KnownHost>("1|02:00:00:00:00:01|c|d", FIELDS(Action, Mac, OldName, NewName), 1_n, Mac(1), "c", "d");
    Of<Lockout>("a|1|0.0.0.0|fe80::1", lockout, "a", 1_n, Ip6(1));
    Of<Lockout>("a|1|10.0.0.1|::", lockout, "a", 1_n, Ip(1));
    Of<MemoryPressure>("2", FIELDS(Status), MemoryPressure::HIGH);
    Of<MwsAcquire, MwsLock>("a|b", FIELDS(Token, Cid), "a", "b");
    Of<MwsController>("02:00:00:00:00:01|b", FIELDS(Mac, Cid), Mac(1), "b");
    Of<MwsMember>("1|2|02:00:00:00:00:01|d", FIELDS(Action, State, Mac, Cid), 1_n, 2_n, Mac(1), "d");
    Of<MwsMemberUpdateDone>("a", FIELDS(Cid), "a");
    Of<Neighbour>("1|2|3|d|02:00:00:00:00:01|15q", FIELDS(Action, Update, AddressType, KnownHost, Mac, EntryId), 1_n, 2_n, 3_n,
        "d", Mac(1), 15_n);
    Of<NetfilterUpdated>("b|1", FIELDS(Table, NfType), 1_n, "b");
    Of<OpkgHook>("1|b|c|x;y;|k=v;", FIELDS(Action, Id, HookName, Args, Env), 1_n, "b", "c", list, map);
    Of<PingCheck, PingCheckBackup>("a", FIELDS(InterfaceId), "a");
    Of<Policy>("a|11q|1|0|0|0||0", policy, "a", 11_n, 1_n);
    Of<Policy>("a|11q|0|12d|13w|14w||0", policy, "a", 11_n, 12_n, 13_n, 14_n);
    Of<Policy>("b|12q|1|0|0|0|d|1", policy, 1_n, "b", 12_n, "d", true);
    Of<Policy>("a|11q|1|13d|14w|15w|g|1", policy, "a", 11_n, 1_n, 13_n, 14_n, 15_n, "g", true);
    Of<Port>("1|b|3|2|14w|4", FIELDS(Action, Service, Protocol, Family, PortValue, SecurityLevel), 1_n, "b", 2_n, 3_n, 14_n, 4_n);
    Of<Ppe>("10.0.0.9/8|::/0|00:00:00:00:00:00|0|1|2", ppe, NET, 1_n, 2_n);
    Of<Ppe>("0.0.0.0/0|::/0|00:00:00:00:00:00|1|2|3", ppe, 1_n, 2_n, 3_n);
    Of<Ppe>("0.0.0.0/0|::/0|02:00:00:00:00:01|2|1|2", ppe, Mac(1), 1_n, 2_n);
    Of<Ppe>("0.0.0.0/0|::/0|00:00:00:00:00:00|3|1|2", ppe, 1_n, 2_n);
    Of<Ppe>("0.0.0.0/0|fe80::1/64|00:00:00:00:00:00|1|1|2", ppe, CBLOCK, 1_n, 2_n);
    Of<ProfileKeywordFilter>("1|b|c|1", FIELDS(Action, Name, ObjectGroup, IsActive), 1_n, "b", "c", true);
    Of<Progress>("a|11q|1", FIELDS(Name, Value, Reboot), "a", 11_n, 1_n);
    Of<RadioStateChanged>("a|1", FIELDS(Id, IsUp), "a", true);
    Of<RadioTurnState>("a|1", FIELDS(Id, IsOn), "a", true);
    Of<Realm>("a", FIELDS(Value), "a");
    Of<Resolved>("10q", FIELDS(ResolverId), 10_n);
    Of<Route>("1|0||b|c|10.0.0.9/8|10.0.0.1|15d", route, 1_n, "b", "c", NET, Ip(1), 15_n);
    Of<Route>("1|2|c|d|e|10.0.0.9/8|10.0.0.1|17d", route, 1_n, 2_n, "c", "d", "e", NET, Ip(1), 17_n);
    Of<Route>("1|0||b|c|0.0.0.0/0|0.0.0.0|0", route, 1_n, "b", "c");
    Of<Route>("1|2||c|d|0.0.0.0/0|0.0.0.0|0", route, 1_n, 2_n, "c", "d");
    Of<Route6>("1|0||b|c|fe80::/10|fe80::1|15d", route, 1_n, "b", "c", PREFIX, Ip6(1), 15_n);
    Of<Route6>("1|2|c|d|e|fe80::/10|fe80::1|17d", route, 1_n, 2_n, "c", "d", "e", PREFIX, Ip6(1), 17_n);
    Of<Route6>("1|0||b|c|::/0|::|0", route, 1_n, "b", "c");
    Of<Route6>("1|2||c|d|::/0|::|0", route, 1_n, 2_n, "c", "d");
    Of<RoutesUpdated>("11d|1", FIELDS(Table, Family), 1_n, 11_n);
    Bare<SaveConfiguration>(1_n, 2_n, 12_n);
    Of<Schedule>("a|1|1.500000", FIELDS(Name, Action, Elapsed), "a", 1_n, SPAN, 2_n);
    Of<SecurityLevelChanged>("2|1", FIELDS(SecurityLevel, Service), 1_n, 2_n);
    Of<ServiceDown>("a|1|12", FIELDS(Id, Reason, Code), "a", 1_n, 12_n);
    Of<Sms>("a|b", FIELDS(InterfaceId, MessageId), "a", "b");
    Of<SslCertificate>("a|1", FIELDS(DomainName, DomainType), "a", 1_n);
    Of<Stats>("a|b|c|13q", FIELDS(Id, Area, Attribute, Value), "a", "b", "c", 13_n);
    Bare<SystemReady>(SPAN);
    Of<TaskDone>("10q", FIELDS(TaskId), 10_n);
    Of<TokenAlias>("a|b|c|d|e", FIELDS(Alias, Domain, Fqdn, AcmeDirectory, AcmeDivider), "a", "b", "c", "d", "e");
    Of<TrackingObject>("a|1", FIELDS(Id, Action), "a", 1_n);
    Bare<TrafficCounter>(true, false);
    Of<TrafficShapeHost>("1|02:00:00:00:00:01|c|13d|14d", FIELDS(Action, Mac, Schedule, TxSpeedLimit, RxSpeedLimit), 1_n, Mac(1),
        "c", 13_n, 14_n);
    Of<UpdateSettingsChanged>("", FIELDS(Attributes));
    Of<Usb>("a|b|1||13q", FIELDS(Device, Subsystem, Action, Attributes, Port), "a", "b", 1_n, 13_n);
    Of<User>("1|b|k=v;|x;y;|16q", FIELDS(Action, Name, Passwords, Tags, ActiveSessionId), 1_n, "b", map, list, 2_n, "f", 16_n);
    Of<VpnClient>("a|1|c|10.0.0.1|e|f", FIELDS(ServerId, IsConnected4, User, Ip, SystemInterface, SegmentId), "a", 1_n, "c",
        Ip(1), "e", "f");
    Of<WifiConfigured>("1", FIELDS(BandMask), 1_n);
    Of<IpCaptivePortal>("a|http://b/c?d#e", FIELDS(InterfaceId, Uri), "a", uri);
    Of<ZessAutoUpdate>("a|b", FIELDS(Reason, Sandbox), "a", "b");
    Of<ZessCookie>("k=v;", zessCookie, map);
    Of<ZessCookie>("a=1;b=3;", zessCookie, "a=0&b=2", "b=3", "a=1");
    Of<ZessDeferred>("1.500000", FIELDS(Delay), SPAN);
    Of<ZessHostname>("ub1|a|1|0|1", FIELDS(Id, Hostname, IsCloud, IsCloud6, IsAcme), "a", true, false, true);
    Of<ZessNotify>("7|h|<n id=\"7\">text</n>|1", zessNotify, "h", document.FirstNode(), ZessNotify::HTTPS);
    Of<ZessNotify>("|||1", zessNotify, "h", nullptr, ZessNotify::HTTPS);
    return rows;
}
// clang-format on

TEST(EventCatalogue, KeepsWhatAnEventIsMadeOfAndCopiesItOrSaysThatMemoryRanOut) {
    std::set<std::string> idents;
    for (Row const& row : Catalogue()) {
        SCOPED_TRACE(row.ident);
        idents.insert(row.ident);
        std::unique_ptr<char, void (*)(void*)> const name(abi::__cxa_demangle(row.type.name(), nullptr, nullptr, nullptr), free);
        EXPECT_EQ(row.ident, "Event::Type::" + std::string(name.get()).substr(7));
        ForEveryAllocation([&](Heap& heap) {
            std::unique_ptr<Base> event;
            Reported(heap, [&] { return event.reset(row.make()), event != nullptr && event->Initialized(); });
        });
        std::unique_ptr<Base> const event(row.make());
        event->MarkRaised();
        auto const copy = [&] { return std::unique_ptr<Base>(event->Clone_()) != nullptr; };
        ForEveryAllocation([&](Heap& heap) { Reported(heap, copy); });
        std::unique_ptr<Base> const clone(event->Clone());
        for (Base const* one : {event.get(), clone.get()}) {
            EXPECT_EQ(typeid(*one), row.type);
            EXPECT_EQ(one->Ident() + ("|" + row.show(*one)), row.ident + "|" + row.shown);
        }
        EXPECT_EQ(Body(*clone), Body(*event));
        EXPECT_TRUE(clone->RaiseTime() == event->RaiseTime() && clone->RaiseTime() != Time::Span());
    }
    EXPECT_EQ(idents.size(), 117u);
}

// Printing an event of the arguments gives the elements "name=text", between blanks.
template<class EventT, typename... ArgumentsT>
void Prints(std::string elements, ArgumentsT const&... arguments) {
    elements = std::regex_replace(elements, std::regex(" *([^ =]+)=([^ ]*)"), "<$1>$2</$1>");
    Xml::Document document;
    EXPECT_TRUE(EventT(arguments...).PrintXml(document));
    EXPECT_EQ(Body(EventT(arguments...)), elements.empty() ? "<event/>" : "<event>" + elements + "</event>");
}

TEST(EventCatalogue, PrintsThePayloadOfPublicEvents) {
    // What the numbers from 0 on are called.
    char const* const logins[] = {"AUTH_OPEN", "AUTH_PASS", "AUTH_ZEBA", "AUTH_FAIL", "AUTH_FAIL"};
    char const* const changes[] = {"new", "update", "delete", "unknown", "unknown"};
    char const* const known[] = {"set", "removed", "cleared", "unknown", "unknown"};
    char const* const states[] = {"online", "offline", "errors", "unknown", "unknown"};
    char const* const updates[] = {"none", "mac", "wireless", "unknown", "info", "unknown", "unknown"};
    char const *const addresses[] = {"ip", "ip6", "unknown", "unknown"}, *const ups[] = {"down", "up", "down", "down"};
    char const* const transports[] = {"tcp", "udp", "&lt;fail&gt;", "&lt;fail&gt;"};
    char const* const points[] = {"start", "stop", "cleared", "deleted", "built-in-start", "built-in-stop", "unknown"};
    for (unsigned i = 0; i < 7; ++i) {
        unsigned const k = i % 5, n = i % 4;
        std::string const
            a = "action=",
            mac = " mac=02:00:00:00:00:01", wan = "id=i name=n system-name=s system-index=4000000000 state=",
            current = " order=5 current-id=ci current-name=cn current-system-name=cs current-system-index=6"
                      " current-priority=18446744073709551615 current-ip-address=10.0.0.1 current-default-gateway=10.0.0.2";
        std::string const audit = a + logins[k] + " user=u agent=a address=1.1.1.1 session=s service=http",
                          member = a + changes[k] + " state=" + states[4 - k] + mac + " cid=c",
                          near = a + changes[k] + " update=" + updates[i] + " address-type=" + addresses[n] + " known-host=h" +
                                 mac + " entry-id=7",
                          point = "name=n " + a + points[i] + " elapsed=1.500000 type=" + (n == 1 ? "user-defined" : "built-in");
        Prints<AuditLog>(audit, AuditLog::ActionT(k), "u", "a", "1.1.1.1", "s", "http");
        Prints<KnownHost>(mac + " " + a + known[k] + " old-name=o new-name=&amp;", KnownHost::ActionT(k), Mac(1), "o", "&");
        Prints<MwsMember>(member, MwsMember::ActionT(k), MwsMember::StateT(4 - k), Mac(1), "c");
        Prints<Neighbour>(near, Neighbour::ActionT(k), Neighbour::UpdateT(i), Neighbour::AddressT(n), "h", Mac(1), 7ul);
        Prints<Schedule>(point, "n", Schedule::ActionT(i), SPAN, Schedule::TypeT(n));
        Prints<CloudReady>(std::string("transport=") + transports[n], CloudReady::TransportT(n));
        Prints<IpWan>(wan + ups[n] + current, "i", "n", "s", 4000000000u, IpWan::StateT(n), 5ul, "ci", "cn", "cs", 6u, ~0ul,
                      Ip(1), Ip(2));
        Prints<FailSafeState>(i % 2 ? "on=yes" : "on=no", i % 2 != 0);
    }
    Prints<AuditLog>("action=AUTH_OPEN user=u agent=a address=h session=s", AuditLog::ActionT(0), "u", "a", "h", "s", "");
    Prints<ConfigurationSaved>(""), Prints<Heartbeat>(""), Prints<UpdatesAvailable>("");
    Prints<Sms>("interface-id=i message-id=m", "i", "m");
    Prints<SystemReady>("uptime=61 version=5.02.A.9.0-0", Time::Span(61, 400));
    Prints<TrafficCounter>("threshold=yes limit=no", true, false);
}

TEST(EventCatalogue, PrintsPasswordsAndTagsOfAUserAsArrays) {
    StringMap passwords;
    StringVector tags;
    char const* const actions[] = {"added", "changed", "password", "removed", "unknown"};
    for (unsigned i = 0; i < 5; ++i)
        Prints<User>(std::string("action=") + actions[i] + " name=n category=" + (i == 0 ? "normal" : "hidden") + " actor=a",
                     User::ActionT(i), "n", passwords, tags, User::CategoryT(i), "a", 1ul);
    for (char const* const text : {"nt", "md5"})
        EXPECT_TRUE(passwords.Set(text, std::string(3000, *text).c_str()) && tags.PushBack(text));
    std::string const n(3000, 'n'), m(3000, 'm');
    EXPECT_EQ(Body(User(User::ADDED, "n", passwords, tags, User::NORMAL, "a", 1)),
              "<event><action>added</action><name>n</name><category>normal</category><actor>a</actor><password type=\"md5\">" +
                  m + "</password><password type=\"nt\">" + n + "</password><tag>nt</tag><tag>md5</tag></event>");
    User const user(User::ADDED, "n", passwords, tags, User::NORMAL, m.c_str(), 1);
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document document;
        Reported(heap, [&] { return static_cast<Base const&>(user).PrintXmlBody_(*document.AppendElement("event")); });
    });
}

// Sets an attribute, and copies the event, under each failure. What setting gives is the flag; it stays down.
template<class EventT, typename SetT, typename... ArgumentsT>
void ExpectSetFailsOnce(SetT set, ArgumentsT... arguments) {
    ForEveryAllocation([&](Heap& heap) {
        EventT event(arguments...);
        bool ok = false;
        std::unique_ptr<Base> clone;
        Reported(heap, [&] {
            return ok = set(event, "b"), clone.reset(ok ? static_cast<Base const&>(event).Clone_() : nullptr), !!clone;
        });
        EXPECT_TRUE(clone == nullptr || Body(*clone) == Body(event));
        EXPECT_EQ(set(event, "c"), ok);
    });
}

TEST(EventCatalogue, TakesAnOpenSetOfAttributesBeforeTheRaise) {
    auto const set = [](auto& event, char const* name) { return event.Set(name, "1"); };
    ExpectSetFailsOnce<Device>([](Device& e, char const* name) { return e.Set(name, "1"), e.Initialized(); }, Device::ADDED);
    ExpectSetFailsOnce<Usb>(set, "d", "s", Usb::ADDED, 1ul);
    ExpectSetFailsOnce<UpdateSettingsChanged>(set);

    Device device(Device::CHANGED), other(Device::ADDED);
    device.Set("b", "2"), device.Set("a", "1"), other.Set("c", "3");
    other.AssignAttributes(device);
    std::unique_ptr<Base> const clone(other.Clone());
    auto const& copy = dynamic_cast<Device const&>(*clone);
    EXPECT_EQ(Show(copy, copy.Action(), copy.Get("a"), copy.Get("b"), copy.Get("c"), copy.Has("a"), copy.Has("c")), "0|1|2||1|0");

    Usb usb("d", "s", Usb::REMOVED, 3);
    EXPECT_TRUE(usb.Set(Usb::NO_LED_ATTR, "yes") && usb.Set(Usb::ALIAS_ATTR, "x"));
    std::unique_ptr<Base> const plugged(usb.Clone());
    EXPECT_EQ(Shown(dynamic_cast<Usb const&>(*plugged).Attributes()), "alias=x;no-led=yes;");

    UpdateSettingsChanged settings;
    Xml::Document document;
    EXPECT_TRUE(settings.Set("channel", "beta") && settings.Set("auto", "no") && settings.PrintXml(document));
    EXPECT_EQ(Body(settings) + Shown(settings.Attributes()),
              "<event><auto>no</auto><channel>beta</channel></event>auto=no;channel=beta;");
}

TEST(EventCatalogue, HasNoHostForANoticeThatCouldNotBeCopied) {
    Xml::Document source;
    source.AppendElement("n", std::string(9000, 'x').c_str())->AppendAttribute("id", "7");
    ForEveryAllocation([&](Heap& heap) {
        Reported(heap, [&] {
            ZessNotify const notice("h", source.FirstNode(), ZessNotify::HTTP);
            EXPECT_NE(notice.ServiceHost().Empty(), notice.Initialized());
            return notice.Initialized();
        });
    });
}

TEST(EventCatalogue, HasWhatIsPeculiarToSomeClasses) {
    char const* const types[] = {"VFAT", "EXFAT", "NTFS", "EXT2", "EXT3", "EXT4", "HFS+", "SWAP", "JFFS2", "UBIFS", ""};
    for (unsigned i = 0; i < std::size(types); ++i)
        EXPECT_EQ(Text(Fs(Fs::MOUNTED, Fs::TypeT(i), "", "", "", "", "", true, true).TypeName()), types[i]);
    IfLaggModeChanged const lagg("", IfLaggModeChanged::LaggModeT(0), 1);
    EXPECT_FALSE(IfGlobalChanged("", "", "", 0, Time::Span()).IsGlobal() || lagg.IsLaggActive());
    EXPECT_TRUE(IpSecCryptoMapChanged("", false, Ip(1), NET, Ip(2), 0).IsDown() && Progress("", 1).Reboot() == REBOOT_NO);
    Xml::Document document;
    std::unique_ptr<Base> const saved(ConfigurationSaved::ParseXmlBody_(*document.AppendElement("any")));
    EXPECT_TRUE(saved->Ident() == CString("Event::Type::ConfigurationSaved") && saved->RaiseTime() == Time::Span());
}

} // namespace
} // namespace Event
