#include "tests/doc/xml/Trees.h"
#include "workbench/Heap.h"
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
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Event {
namespace {

// The fields of an event as one text.
std::string Shown(CString const& text) { return Text(text); }
std::string Shown(Time::Span const& span) { return Time::Span::String(span).Cstr(); }
std::string Shown(Xml::Document const& document) { return Printed(document); }
std::string Shown(Util::URI const& uri) {
    String text;
    return uri.Get(text) ? Text(text) : "failed";
}
std::string Shown(StringMap const& map) {
    std::string text;
    for (unsigned long i = 0; i < map.Size(); ++i)
        text += Text(map.Key(i)) + "=" + Text(map.Get(i)) + ";";
    return text;
}
std::string Shown(StringVector const& list) {
    std::string text;
    for (unsigned long i = 0; i < list.Size(); ++i)
        text += Text(list[i]) + ";";
    return text;
}
std::string Shown(Network::TrafficSelector const& selector) {
    return Text(Network::IpBlock::Str(selector.Network())) + " " + std::to_string(selector.Protocol()) + " " +
           std::to_string(selector.PortStart()) + "-" + std::to_string(selector.PortEnd());
}
template<typename T>
std::string Shown(T const& value) {
    if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
        return std::to_string(value);
    } else if constexpr (std::is_base_of_v<Network::Ip6::CBlock, T>) {
        return Text(Network::Ip6::CBlock::Str(value));
    } else if constexpr (std::is_convertible_v<T, CString>) {
        return Text(value);
    } else {
        return Text(typename T::Str(value));
    }
}
template<typename... T>
std::string Show(T const&... fields) {
    std::string text;
    ((text += Shown(fields) + "|"), ...);
    return text.substr(0, text.size() - 1);
}

// An event with that body, printed.
std::string Body(Base const& event) {
    Xml::Document document;
    Xml::Node* const node = document.AppendElement("event");
    return event.PrintXmlBody_(*node) ? Printed(*node) : "failed";
}

// Values of fields; equal numbers give equal values.
Network::IpAddress Ip(unsigned last) { return 0x0A000000 + last; }
Network::IpBlock const NET(Ip(9), Network::IpMask::__8_BIT);
Network::Ip6::Address Ip6(unsigned char last) {
    in6_addr address{};
    address.s6_addr[0] = 0xFE;
    address.s6_addr[1] = 0x80;
    address.s6_addr[15] = last;
    return address;
}
Network::Ip6::CBlock const CBLOCK(Ip6(1), 64);
Network::Ip6::Block const NET6(CBLOCK);
Network::Ip6::Prefix const PREFIX(Ip6(0), 10);
Network::MacAddress Mac(unsigned char last) {
    unsigned char const bytes[] = {2, 0, 0, 0, 0, last};
    return Network::MacAddress(bytes);
}
Network::TrafficSelector Selector(unsigned protocol) { return Network::TrafficSelector(NET, protocol, 1, 2); }
StringMap const& Map() {
    static StringMap map;
    if (map.Empty()) (void)map.Set("k", "v");
    return map;
}
StringVector const& List() {
    static StringVector list;
    if (list.Empty()) (void)(list.PushBack("x") && list.PushBack("y"));
    return list;
}
Util::URI const& Uri() {
    static Util::URI const uri("http", "b", "/c", "d", "e");
    return uri;
}
Xml::Node const* Notice() {
    static Xml::Document document;
    if (document.FirstNode() == nullptr) {
        document.AppendElement("n", "text")->AppendAttribute("id", "7");
    }
    return document.FirstNode();
}

struct Row {
    std::string ident;
    std::string shown;
    std::function<Base*()> make;
    std::function<std::string(Base const&)> show;
};

// An event of the class, made of the arguments, and what its accessors give in the order of the class.
template<class EventT, typename ShowT, typename... ArgumentsT>
Row Of(char const* shown, ShowT show, ArgumentsT... arguments) {
    std::unique_ptr<char, void (*)(void*)> const name(
        abi::__cxa_demangle(typeid(EventT).name(), nullptr, nullptr, nullptr), free);
    return {"Event::Type::" + std::string(name.get()).substr(7), shown,
            [=]() -> Base* { return new (std::nothrow) EventT(arguments...); },
            [=](Base const& event) { return show(dynamic_cast<EventT const&>(event)); }};
}
template<class EventT, typename... ArgumentsT>
Row Bare(ArgumentsT... arguments) {
    return Of<EventT>(
        "", [](auto&) { return std::string(); }, arguments...);
}

// Every class, and every constructor. Numbers and letters of arguments rise, so that no two can be mistaken.
std::vector<Row> const& Catalogue() {
    static std::vector<Row> const rows = {
        Of<Acl>("1|b", [](auto& e) { return Show(e.Action(), e.Name()); }, Acl::ActionT(1), "b"),
        Of<Acl6>("1|b", [](auto& e) { return Show(e.Action(), e.Name()); }, Acl6::ActionT(1), "b"),
        Of<AuditLog>("1|b|c|d|e", [](auto& e) { return Show(e.Action(), e.UserName(), e.ScgiAgent(), e.RemoteAddr(), e.SessionId()); }, AuditLog::ActionT(1), "b", "c", "d", "e", "f"),
        Bare<BandSteeringChanged>(),
        Bare<CallSync>(),
        Of<ChilliHost>("1|10.0.0.1|02:00:00:00:00:01|13|14", [](auto& e) { return Show(e.Action(), e.Address(), e.Mac(), e.TxSpeedLimit(), e.RxSpeedLimit()); }, ChilliHost::ActionT(1), Ip(1), Mac(1), 13ul, 14ul),
        Bare<CloudReady>(CloudReady::TransportT(1)),
        Bare<CloudSettingsChanged>(),
        Of<ConfigurationAgent>("a", [](auto& e) { return Show(e.Name()); }, "a"),
        Bare<ConfigurationSaved>(),
        Bare<CountryChanged>(),
        Of<CwmpNotificationRequired>("1|10", [](auto& e) { return Show(e.Code(), e.ZebId()); }, 10ul, CwmpNotificationRequired::CodeT(1)),
        Bare<CwmpSessionFinished>(),
        Of<DbKey>("a|11|12|1", [](auto& e) { return Show(e.Name(), e.OldValue(), e.NewValue(), e.Stat()); }, "a", 11ul, 12ul, DbKey::StatT(1)),
        Of<Device>("1", [](auto& e) { return Show(e.Action()); }, Device::ActionT(1)),
        Of<DhcpLease>("1|b|c|d|e|10.0.0.1|02:00:00:00:00:01|02:00:00:00:00:02|1.500000", [](auto& e) { return Show(e.Action(), e.HostName(), e.DeviceName(), e.ModeName(), e.InterfaceId(), e.Ip(), e.Mac(), e.Via(), e.Expires()); }, DhcpLease::ActionT(1), "b", "c", "d", "e", Ip(1), Mac(1), Mac(2), Time::Span(1, 500)),
        Of<DhcpLease>("1|||||10.0.0.1|02:00:00:00:00:01|00:00:00:00:00:00|0.000000", [](auto& e) { return Show(e.Action(), e.HostName(), e.DeviceName(), e.ModeName(), e.InterfaceId(), e.Ip(), e.Mac(), e.Via(), e.Expires()); }, DhcpLease::ActionT(1), Ip(1), Mac(1)),
        Of<DhcpOption>("1|b|c", [](auto& e) { return Show(e.Code(), e.InterfaceId(), e.Value()); }, DhcpOption::CodeT(1), "b", "c"),
        Of<DhcpPool>("a|b", [](auto& e) { return Show(e.Name(), e.InterfaceId()); }, "a", "b"),
        Bare<DnsListUpdated>(),
        Of<DocumentAccepted>("1", [](auto& e) { return Show(e.Type()); }, DocumentAccepted::TypeT(1)),
        Of<Domain>("a", [](auto& e) { return Show(e.Name()); }, "a"),
        Of<FailSafeState>("1", [](auto& e) { return Show(e.IsOn()); }, true),
        Of<Fs>("1|2|NTFS|c|d|e|f|g|1|0", [](auto& e) { return Show(e.Action(), e.Type(), e.TypeName(), e.Name(), e.Label(), e.Storage(), e.Directory(), e.SystemDirectory(), e.IsUserMountable(), e.IsUserPluggable()); }, Fs::ActionT(1), Fs::TypeT(2), "c", "d", "e", "f", "g", true, false),
        Bare<Heartbeat>(),
        Of<Host>("a", [](auto& e) { return Show(e.Name()); }, "a"),
        Of<HostKeywordFilter>("1|02:00:00:00:00:01|x;y;", [](auto& e) { return Show(e.Action(), e.Mac(), e.Profiles()); }, HostKeywordFilter::ActionT(1), Mac(1), std::cref(List())),
        Of<HostPolicy>("c|1|02:00:00:00:00:01", [](auto& e) { return Show(e.Policy(), e.Action(), e.Mac()); }, HostPolicy::ActionT(1), Mac(1), "c"),
        Of<HostPriorityChanged>("02:00:00:00:00:01|11", [](auto& e) { return Show(e.Mac(), e.Priority()); }, Mac(1), uint8_t{11}),
        Of<IfaceKeywordFilter>("1|b|12|x;y;", [](auto& e) { return Show(e.Action(), e.IfaceId(), e.InterfaceIdx(), e.Profiles()); }, IfaceKeywordFilter::ActionT(1), "b", 12u, std::cref(List())),
        Of<IfAuth>("a|1", [](auto& e) { return Show(e.Id(), e.Authorized()); }, "a", IfAuth::AuthorizedT(1)),
        Of<IfCreated>("1|b|c|d", [](auto& e) { return Show(e.CreateType(), e.Id(), e.SystemName(), e.ParentId()); }, IfCreated::CreateT(1), "b", "c", "d"),
        Of<IfDebug>("a|b|1", [](auto& e) { return Show(e.Id(), e.SystemName(), e.Debug()); }, "a", "b", DebugT(1)),
        Of<IfDestroyed>("a|b|c|1.500000", [](auto& e) { return Show(e.Id(), e.SystemName(), e.ParentId(), e.CreatedTime()); }, "a", "b", "c", Time::Span(1, 500)),
        Of<IfDomainChanged>("a|b|c", [](auto& e) { return Show(e.Id(), e.SystemName(), e.Domain()); }, "a", "b", "c"),
        Of<IfGlobalChanged>("a|b|c|13|1|1.500000", [](auto& e) { return Show(e.Id(), e.Name(), e.SystemName(), e.GlobalPriority(), e.IsGlobal(), e.CreatedTime()); }, "a", "b", "c", 13ul, Time::Span(1, 500)),
        Of<IfGroup>("1|2|c|d|e|f|g|h|3|4|5|6|1.500000|2.500000", [](auto& e) { return Show(e.Action(), e.Inherit(), e.Id(), e.Name(), e.SystemName(), e.Group(), e.GroupName(), e.GroupSystemName(), e.IsLinkUp(), e.IsConnected4(), e.IsConnected6(), e.IsIfUp(), e.CreatedTime(), e.GroupCreatedTime()); }, IfGroup::ActionT(1), IfGroup::InheritT(2), "c", "d", "e", "f", "g", "h", LinkT(3), Conn4T(4), Conn6T(5), IfUpT(6), Time::Span(1, 500), Time::Span(2, 500)),
        Of<IfIp4Changed>("a|b|c|10.0.0.9/8|1|2|3|17|1.500000", [](auto& e) { return Show(e.Id(), e.Name(), e.SystemName(), e.Address(), e.Static(), e.Type(), e.Action(), e.GlobalPriority(), e.CreatedTime()); }, "a", "b", "c", NET, IfIp4Changed::StatT(1), IfIp4Changed::TypeT(2), IfIp4Changed::ActionT(3), 17ul, Time::Span(1, 500)),
        Of<IfIp6Changed>("1|b|c|d|fe80::1/64|3|16|1.500000", [](auto& e) { return Show(e.Action(), e.Id(), e.Name(), e.SystemName(), e.Address(), e.Prototype(), e.GlobalPriority(), e.CreatedTime()); }, IfIp6Changed::ActionT(1), "b", "c", "d", NET6, Network::Ip6::ProtoT(3), 16ul, Time::Span(1, 500)),
        Of<IfIp6SystemChanged>("1|11|fe80::1/64", [](auto& e) { return Show(e.Action(), e.SystemIndex(), e.Address()); }, IfIp6SystemChanged::ActionT(1), 11u, NET6),
        Of<IfLaggModeChanged>("a|1|1|12", [](auto& e) { return Show(e.Id(), e.Mode(), e.IsLaggActive(), e.Group()); }, "a", IfLaggModeChanged::LaggModeT(1), 12ul),
        Of<IfLayerChanged>("a|b|1|2", [](auto& e) { return Show(e.Id(), e.SystemName(), e.Layer(), e.Level()); }, "a", "b", IfLayerChanged::LayerT(1), IfLayerChanged::LevelT(2)),
        Of<IfLinkSpeedChanged>("a|11|12", [](auto& e) { return Show(e.Id(), e.SpeedRx(), e.SpeedTx()); }, "a", 11ul, 12ul),
        Of<IfMacChanged>("a|b|02:00:00:00:00:01", [](auto& e) { return Show(e.Id(), e.SystemName(), e.Address()); }, "a", "b", Mac(1)),
        Of<IfMtuChanged>("a|b|12", [](auto& e) { return Show(e.Id(), e.SystemName(), e.Mtu()); }, "a", "b", 12ul),
        Of<IfNameChanged>("a|b|c|1.500000", [](auto& e) { return Show(e.Id(), e.Name(), e.SystemName(), e.CreatedTime()); }, "a", "b", "c", Time::Span(1, 500)),
        Of<IfPeerIsolationChanged>("a", [](auto& e) { return Show(e.Id()); }, "a"),
        Of<IfPrivateChanged>("a|b|c|1|1|1.500000", [](auto& e) { return Show(e.Id(), e.Name(), e.SystemName(), e.SecurityLevel(), e.IsIsolate(), e.CreatedTime()); }, "a", "b", "c", SecurityLevelT(1), true, Time::Span(1, 500)),
        Of<IfRole>("1|b|c|d|e", [](auto& e) { return Show(e.Action(), e.Id(), e.SystemName(), e.Role(), e.Ifor()); }, IfRole::ActionT(1), "b", "c", "d", "e"),
        Of<IfSchedule>("a|b|c", [](auto& e) { return Show(e.Id(), e.SystemName(), e.Schedule()); }, "a", "b", "c"),
        Of<IfSettingsChanged>("a|b|c", [](auto& e) { return Show(e.Trait(), e.Id(), e.SystemName()); }, "a", "b", "c"),
        Of<Internet>("1", [](auto& e) { return Show(e.HasInternetAccess()); }, true),
        Bare<Ip6PrefixesChanged>(),
        Bare<Ip6SubnetsChanged>(),
        Of<Ip6Wan>("a|b|c|1|14|f|g|h|18|fe80::1|fe80::2", [](auto& e) { return Show(e.Id(), e.Name(), e.SystemName(), e.State(), e.Order(), e.CurrentId(), e.CurrentName(), e.CurrentSystemName(), e.CurrentPriority(), e.CurrentIpAddress(), e.CurrentDefaultGateway()); }, "a", "b", "c", Ip6Wan::StateT(1), 14ul, "f", "g", "h", 18ul, Ip6(1), Ip6(2)),
        Of<IpSecCryptoMapChanged>("a|1|0|15|10.0.0.1|10.0.0.9/8|10.0.0.2", [](auto& e) { return Show(e.MapName(), e.IsUp(), e.IsDown(), e.Revision(), e.RemotePeer(), e.InternalRemote(), e.DnsAddr()); }, "a", true, Ip(1), NET, Ip(2), 15ul),
        Of<IpSecure>("1|2|3|d|e|10.0.0.1|10.0.0.2|f|10.0.0.9/8 1 1-2|10.0.0.9/8 2 1-2|20|21|1|0|1|4|5|27|s|u|v|32|0", [](auto& e) { return Show(e.Action(), e.IkeProtocol(), e.Mode(), e.UniqueName(), e.RemoteEndpointId(), e.RemoteEndpoint(), e.LocalEndpoint(), e.LocalEndpointId(), e.Local(), e.Remote(), e.IkeLifetime(), e.SaLifetime(), e.IsAggressive(), e.NailUp(), e.ForceEncaps(), e.SecurityLevel(), e.Auth(), e.Version(), e.PreSharedKey(), e.Password(), e.ClientCaCert(), e.XfrmIndex(), e.Debug()); }, IpSecure::ActionT(1), IpSecure::ProtocolT(2), IpSecure::ModeT(3), "d", "e", "f", Ip(1), Ip(2), Selector(1), Selector(2), 20ul, 21ul, true, false, true, Network::Interface::Secure::SecurityLevelT(4), Network::Interface::Supplicant::AuthT(5), 27ul, "s", "t", "u", "v", 32ul, false),
        Of<IpSecure>("1|0|0|c||0.0.0.0|0.0.0.0||0.0.0.0/0 0 0-0|0.0.0.0/0 0 0-0|0|0|0|0|0|2|0|11||||0|0", [](auto& e) { return Show(e.Action(), e.IkeProtocol(), e.Mode(), e.UniqueName(), e.RemoteEndpointId(), e.RemoteEndpoint(), e.LocalEndpoint(), e.LocalEndpointId(), e.Local(), e.Remote(), e.IkeLifetime(), e.SaLifetime(), e.IsAggressive(), e.NailUp(), e.ForceEncaps(), e.SecurityLevel(), e.Auth(), e.Version(), e.PreSharedKey(), e.Password(), e.ClientCaCert(), e.XfrmIndex(), e.Debug()); }, IpSecure::ActionT(1), 11ul, "c"),
        Of<IpSet>("1|b", [](auto& e) { return Show(e.Action(), e.Name()); }, IpSet::ActionT(1), "b"),
        Of<IpWan>("a|b|c|13|1|15|g|h|i|19|20|10.0.0.1|10.0.0.2", [](auto& e) { return Show(e.Id(), e.Name(), e.SystemName(), e.SystemIndex(), e.State(), e.Order(), e.CurrentId(), e.CurrentName(), e.CurrentSystemName(), e.CurrentSystemIndex(), e.CurrentPriority(), e.CurrentIpAddress(), e.CurrentDefaultGateway()); }, "a", "b", "c", 13u, IpWan::StateT(1), 15ul, "g", "h", "i", 19u, 20ul, Ip(1), Ip(2)),
        Bare<IrqSetChanged>(),
        Of<KnownHost>("1|02:00:00:00:00:01|c|d", [](auto& e) { return Show(e.Action(), e.Mac(), e.OldName(), e.NewName()); }, KnownHost::ActionT(1), Mac(1), "c", "d"),
        Of<Lockout>("a|1|0.0.0.0|fe80::1", [](auto& e) { return Show(e.Id(), e.Action(), e.Client4(), e.Client6()); }, "a", Lockout::ActionT(1), Ip6(1)),
        Of<Lockout>("a|1|10.0.0.1|::", [](auto& e) { return Show(e.Id(), e.Action(), e.Client4(), e.Client6()); }, "a", Lockout::ActionT(1), Ip(1)),
        Of<MemoryPressure>("2", [](auto& e) { return Show(e.Status()); }, MemoryPressure::HIGH),
        Of<MloChanged>("a", [](auto& e) { return Show(e.Id()); }, "a"),
        Of<MwsAcquire>("a|b", [](auto& e) { return Show(e.Token(), e.Cid()); }, "a", "b"),
        Of<MwsController>("02:00:00:00:00:01|b", [](auto& e) { return Show(e.Mac(), e.Cid()); }, Mac(1), "b"),
        Of<MwsLock>("a|b", [](auto& e) { return Show(e.Token(), e.Cid()); }, "a", "b"),
        Of<MwsMember>("1|2|02:00:00:00:00:01|d", [](auto& e) { return Show(e.Action(), e.State(), e.Mac(), e.Cid()); }, MwsMember::ActionT(1), MwsMember::StateT(2), Mac(1), "d"),
        Of<MwsMemberUpdateDone>("a", [](auto& e) { return Show(e.Cid()); }, "a"),
        Bare<MwsWlan>(),
        Of<Neighbour>("1|2|3|d|02:00:00:00:00:01|15", [](auto& e) { return Show(e.Action(), e.Update(), e.AddressType(), e.KnownHost(), e.Mac(), e.EntryId()); }, Neighbour::ActionT(1), Neighbour::UpdateT(2), Neighbour::AddressT(3), "d", Mac(1), 15ul),
        Of<NetfilterUpdated>("b|1", [](auto& e) { return Show(e.Table(), e.NfType()); }, NetfilterUpdated::NetfilterT(1), "b"),
        Bare<NtpClientChanged>(),
        Of<ObjectGroup>("1|b", [](auto& e) { return Show(e.Action(), e.Name()); }, ObjectGroup::ActionT(1), "b"),
        Of<OpkgHook>("1|b|c|x;y;|k=v;", [](auto& e) { return Show(e.Action(), e.Id(), e.HookName(), e.Args(), e.Env()); }, OpkgHook::ActionT(1), "b", "c", std::cref(List()), std::cref(Map())),
        Of<PingCheck>("a", [](auto& e) { return Show(e.InterfaceId()); }, "a"),
        Of<PingCheckBackup>("a", [](auto& e) { return Show(e.InterfaceId()); }, "a"),
        Of<Policy>("a|11|1|0|0|0||0", [](auto& e) { return Show(e.Name(), e.Index(), e.Action(), e.Mark(), e.DnsPort(), e.DnsRpcPort(), e.Wan(), e.Multipath()); }, "a", 11ul, Policy::ActionT(1)),
        Of<Policy>("a|11|0|12|13|14||0", [](auto& e) { return Show(e.Name(), e.Index(), e.Action(), e.Mark(), e.DnsPort(), e.DnsRpcPort(), e.Wan(), e.Multipath()); }, "a", 11ul, 12u, uint16_t{13}, uint16_t{14}),
        Of<Policy>("b|12|1|0|0|0|d|1", [](auto& e) { return Show(e.Name(), e.Index(), e.Action(), e.Mark(), e.DnsPort(), e.DnsRpcPort(), e.Wan(), e.Multipath()); }, Policy::ActionT(1), "b", 12ul, "d", true),
        Of<Policy>("a|11|1|13|14|15|g|1", [](auto& e) { return Show(e.Name(), e.Index(), e.Action(), e.Mark(), e.DnsPort(), e.DnsRpcPort(), e.Wan(), e.Multipath()); }, "a", 11ul, Policy::ActionT(1), 13u, uint16_t{14}, uint16_t{15}, "g", true),
        Of<Port>("1|b|3|2|14|4", [](auto& e) { return Show(e.Action(), e.Service(), e.Protocol(), e.Family(), e.PortValue(), e.SecurityLevel()); }, Port::ActionT(1), "b", Network::PortAllocator::FamilyT(2), Network::PortAllocator::ProtocolT(3), uint16_t{14}, SecurityLevelT(4)),
        Of<Ppe>("10.0.0.9/8|::/0|00:00:00:00:00:00|0|1|2", [](auto& e) { return Show(e.Address(), e.Address6(), e.Mac(), e.AddressType(), e.Type(), e.Action()); }, NET, Ppe::TypeT(1), Ppe::ActionT(2)),
        Of<Ppe>("0.0.0.0/0|::/0|00:00:00:00:00:00|1|2|3", [](auto& e) { return Show(e.Address(), e.Address6(), e.Mac(), e.AddressType(), e.Type(), e.Action()); }, Ppe::AddressT(1), Ppe::TypeT(2), Ppe::ActionT(3)),
        Of<Ppe>("0.0.0.0/0|::/0|02:00:00:00:00:01|2|1|2", [](auto& e) { return Show(e.Address(), e.Address6(), e.Mac(), e.AddressType(), e.Type(), e.Action()); }, Mac(1), Ppe::TypeT(1), Ppe::ActionT(2)),
        Of<Ppe>("0.0.0.0/0|::/0|00:00:00:00:00:00|3|1|2", [](auto& e) { return Show(e.Address(), e.Address6(), e.Mac(), e.AddressType(), e.Type(), e.Action()); }, Ppe::TypeT(1), Ppe::ActionT(2)),
        Of<Ppe>("0.0.0.0/0|fe80::1/64|00:00:00:00:00:00|1|1|2", [](auto& e) { return Show(e.Address(), e.Address6(), e.Mac(), e.AddressType(), e.Type(), e.Action()); }, CBLOCK, Ppe::TypeT(1), Ppe::ActionT(2)),
        Of<ProfileKeywordFilter>("1|b|c|1", [](auto& e) { return Show(e.Action(), e.Name(), e.ObjectGroup(), e.IsActive()); }, ProfileKeywordFilter::ActionT(1), "b", "c", true),
        Of<Progress>("a|11|1", [](auto& e) { return Show(e.Name(), e.Value(), e.Reboot()); }, "a", 11ul, RebootT(1)),
        Of<RadioStateChanged>("a|1", [](auto& e) { return Show(e.Id(), e.IsUp()); }, "a", true),
        Of<RadioTurnState>("a|1", [](auto& e) { return Show(e.Id(), e.IsOn()); }, "a", true),
        Of<Realm>("a", [](auto& e) { return Show(e.Value()); }, "a"),
        Of<Resolved>("10", [](auto& e) { return Show(e.ResolverId()); }, 10ul),
        Of<Route>("1|0||b|c|10.0.0.9/8|10.0.0.1|15", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route::ActionT(1), "b", "c", NET, Ip(1), 15u),
        Of<Route>("1|2|c|d|e|10.0.0.9/8|10.0.0.1|17", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route::ActionT(1), Route::TypeT(2), "c", "d", "e", NET, Ip(1), 17u),
        Of<Route>("1|0||b|c|0.0.0.0/0|0.0.0.0|0", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route::ActionT(1), "b", "c"),
        Of<Route>("1|2||c|d|0.0.0.0/0|0.0.0.0|0", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route::ActionT(1), Route::TypeT(2), "c", "d"),
        Of<Route6>("1|0||b|c|fe80::/10|fe80::1|15", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route6::ActionT(1), "b", "c", PREFIX, Ip6(1), 15u),
        Of<Route6>("1|2|c|d|e|fe80::/10|fe80::1|17", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route6::ActionT(1), Route6::TypeT(2), "c", "d", "e", PREFIX, Ip6(1), 17u),
        Of<Route6>("1|0||b|c|::/0|::|0", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route6::ActionT(1), "b", "c"),
        Of<Route6>("1|2||c|d|::/0|::|0", [](auto& e) { return Show(e.Action(), e.Type(), e.Id(), e.Interface(), e.SystemName(), e.Destination(), e.Gateway(), e.Metric()); }, Route6::ActionT(1), Route6::TypeT(2), "c", "d"),
        Of<RoutesUpdated>("11|1", [](auto& e) { return Show(e.Table(), e.Family()); }, RoutesUpdated::FamilyT(1), 11u),
        Bare<SaveConfiguration>(SaveConfiguration::FailSafeT(1), RebootT(2), 12ul),
        Of<Schedule>("a|1|1.500000", [](auto& e) { return Show(e.Name(), e.Action(), e.Elapsed()); }, "a", Schedule::ActionT(1), Time::Span(1, 500), Schedule::TypeT(2)),
        Of<SecurityLevelChanged>("2|1", [](auto& e) { return Show(e.SecurityLevel(), e.Service()); }, SecurityLevelChanged::ServiceT(1), SecurityLevelT(2)),
        Of<ServiceDown>("a|1|12", [](auto& e) { return Show(e.Id(), e.Reason(), e.Code()); }, "a", ServiceDown::ReasonT(1), 12),
        Of<ServiceUp>("a", [](auto& e) { return Show(e.Id()); }, "a"),
        Of<Sms>("a|b", [](auto& e) { return Show(e.InterfaceId(), e.MessageId()); }, "a", "b"),
        Of<SslCertificate>("a|1", [](auto& e) { return Show(e.DomainName(), e.DomainType()); }, "a", SslCertificate::DomainTypeT(1)),
        Of<Stats>("a|b|c|13", [](auto& e) { return Show(e.Id(), e.Area(), e.Attribute(), e.Value()); }, "a", "b", "c", 13ul),
        Bare<SystemReady>(Time::Span(1, 500)),
        Bare<SystemShutdown>(),
        Of<TaskDone>("10", [](auto& e) { return Show(e.TaskId()); }, 10ul),
        Of<TokenAlias>("a|b|c|d|e", [](auto& e) { return Show(e.Alias(), e.Domain(), e.Fqdn(), e.AcmeDirectory(), e.AcmeDivider()); }, "a", "b", "c", "d", "e"),
        Of<TrackingObject>("a|1", [](auto& e) { return Show(e.Id(), e.Action()); }, "a", TrackingObject::ActionT(1)),
        Bare<TrafficCounter>(true, false),
        Of<TrafficShapeHost>("1|02:00:00:00:00:01|c|13|14", [](auto& e) { return Show(e.Action(), e.Mac(), e.Schedule(), e.TxSpeedLimit(), e.RxSpeedLimit()); }, TrafficShapeHost::ActionT(1), Mac(1), "c", 13u, 14u),
        Bare<UpdatesAvailable>(),
        Of<UpdateSettingsChanged>("", [](auto& e) { return Show(e.Attributes()); }),
        Of<Usb>("a|b|1||13", [](auto& e) { return Show(e.Device(), e.Subsystem(), e.Action(), e.Attributes(), e.Port()); }, "a", "b", Usb::ActionT(1), 13ul),
        Of<User>("1|b|k=v;|x;y;|16", [](auto& e) { return Show(e.Action(), e.Name(), e.Passwords(), e.Tags(), e.ActiveSessionId()); }, User::ActionT(1), "b", std::cref(Map()), std::cref(List()), User::CategoryT(2), "f", 16ul),
        Of<VpnClient>("a|1|c|10.0.0.1|e|f", [](auto& e) { return Show(e.ServerId(), e.IsConnected4(), e.User(), e.Ip(), e.SystemInterface(), e.SegmentId()); }, "a", Conn4T(1), "c", Ip(1), "e", "f"),
        Of<WifiConfigured>("1", [](auto& e) { return Show(e.BandMask()); }, WifiConfigured::BandMaskT(1)),
        Of<WpsConfigured>("a", [](auto& e) { return Show(e.Id()); }, "a"),
        Of<IpCaptivePortal>("a|http://b/c?d#e", [](auto& e) { return Show(e.InterfaceId(), e.Uri()); }, "a", std::cref(Uri())),
        Of<ZessAutoUpdate>("a|b", [](auto& e) { return Show(e.Reason(), e.Sandbox()); }, "a", "b"),
        Of<ZessCookie>("k=v;", [](auto& e) { return Show(e.Cookie()); }, std::cref(Map())),
        Of<ZessCookie>("a=1;b=3;", [](auto& e) { return Show(e.Cookie()); }, "a=0&b=2", "b=3", "a=1"),
        Of<ZessDeferred>("1.500000", [](auto& e) { return Show(e.Delay()); }, Time::Span(1, 500)),
        Of<ZessHostname>("ub1|a|1|0|1", [](auto& e) { return Show(e.Id(), e.Hostname(), e.IsCloud(), e.IsCloud6(), e.IsAcme()); }, "a", true, false, true),
        Of<ZessNotify>("7|h|<n id=\"7\">text</n>|1", [](auto& e) { return Show(e.Id(), e.ServiceHost(), e.Xml(), e.Protocol()); }, "h", Notice(), ZessNotify::HTTPS),
        Of<ZessNotify>("|||1", [](auto& e) { return Show(e.Id(), e.ServiceHost(), e.Xml(), e.Protocol()); }, "h", nullptr, ZessNotify::HTTPS),
        Of<WpsStart>("a", [](auto& e) { return Show(e.Id()); }, "a")
    };
    return rows;
}

TEST(EventCatalogue, NamesEachOfThe117ClassesByItsType) {
    std::set<std::string> idents;
    for (Row const& row : Catalogue()) {
        std::unique_ptr<Base> const event(row.make());
        EXPECT_EQ(event->Ident(), row.ident);
        idents.insert(event->Ident());
    }
    EXPECT_EQ(idents.size(), 117u);
}

TEST(EventCatalogue, KeepsWhatAnEventIsMadeOfAndCopiesIt) {
    for (Row const& row : Catalogue()) {
        SCOPED_TRACE(row.ident);
        std::unique_ptr<Base> event(row.make());
        event->MarkRaised();
        std::unique_ptr<Base> const clone(event->Clone());
        EXPECT_EQ(row.show(*event), row.shown);
        EXPECT_EQ(row.show(*clone), row.shown);
        EXPECT_EQ(Body(*clone), Body(*event));
        EXPECT_EQ(clone->RaiseTime(), event->RaiseTime());
        EXPECT_NE(clone->RaiseTime(), Time::Span());
        Base const &made = *event, &copied = *clone;
        EXPECT_EQ(typeid(copied), typeid(made));
    }
}

TEST(EventCatalogue, SaysThatMemoryRanOut) {
    for (Row const& row : Catalogue()) {
        SCOPED_TRACE(row.ident);
        ForEveryAllocation([&](Heap& heap) {
            heap.Arm();
            std::unique_ptr<Base> const event(row.make());
            heap.Disarm();
            EXPECT_EQ(event != nullptr && event->Initialized(), !heap.Fired());
        });
        std::unique_ptr<Base> const event(row.make());
        ForEveryAllocation([&](Heap& heap) {
            heap.Arm();
            std::unique_ptr<Base> const clone(event->Clone_());
            heap.Disarm();
            EXPECT_EQ(clone == nullptr, heap.Fired());
            EXPECT_TRUE(clone == nullptr || row.show(*clone) == row.shown);
        });
    }
}

// An event whose element prints as the given text, without the outer tags.
template<class EventT, typename... ArgumentsT>
void ExpectBody(std::string const& body, ArgumentsT const&... arguments) {
    Xml::Document document;
    EXPECT_TRUE(EventT(arguments...).PrintXml(document));
    EXPECT_EQ(Body(EventT(arguments...)), body.empty() ? "<event/>" : "<event>" + body + "</event>");
}

TEST(EventCatalogue, PrintsThePayloadOfPublicEvents) {
    auto const audit = [](unsigned action, char const* word, char const* service, char const* tail) {
        ExpectBody<AuditLog>(std::string("<action>") + word + "</action><user>u</user><agent>a</agent>" +
                                 "<address>1.1.1.1</address><session>s</session>" + tail,
                             AuditLog::ActionT(action), "u", "a", "1.1.1.1", "s", service);
    };
    audit(0, "AUTH_OPEN", "http", "<service>http</service>");
    audit(1, "AUTH_PASS", "", "");
    audit(2, "AUTH_ZEBA", "", "");
    audit(3, "AUTH_FAIL", "", "");
    audit(9, "AUTH_FAIL", "", "");

    ExpectBody<CloudReady>("<transport>tcp</transport>", CloudReady::TCP);
    ExpectBody<CloudReady>("<transport>udp</transport>", CloudReady::UDP);
    ExpectBody<CloudReady>("<transport>&lt;fail&gt;</transport>", CloudReady::TransportT(2));
    ExpectBody<ConfigurationSaved>("");
    ExpectBody<FailSafeState>("<on>yes</on>", true);
    ExpectBody<FailSafeState>("<on>no</on>", false);
    ExpectBody<Heartbeat>("");
    ExpectBody<UpdatesAvailable>("");
    ExpectBody<Sms>("<interface-id>i</interface-id><message-id>m</message-id>", "i", "m");
    ExpectBody<SystemReady>("<uptime>61</uptime><version>5.02.A.9.0-0</version>", Time::Span(61, 400));
    ExpectBody<TrafficCounter>("<threshold>yes</threshold><limit>no</limit>", true, false);

    for (unsigned state : {0u, 1u, 2u}) {
        ExpectBody<IpWan>(
            std::string("<id>i</id><name>n</name><system-name>s</system-name>") +
                "<system-index>4000000000</system-index><state>" + (state == 1 ? "up" : "down") +
                "</state><order>5</order><current-id>ci</current-id><current-name>cn</current-name>"
                "<current-system-name>cs</current-system-name><current-system-index>6</current-system-index>"
                "<current-priority>18446744073709551615</current-priority>"
                "<current-ip-address>10.0.0.1</current-ip-address>"
                "<current-default-gateway>10.0.0.2</current-default-gateway>",
            "i", "n", "s", 4000000000u, IpWan::StateT(state), 5ul, "ci", "cn", "cs", 6u, ~0ul, Ip(1), Ip(2));
    }

    char const* const known[] = {"set", "removed", "cleared", "unknown"};
    char const* const members[] = {"new", "update", "delete", "unknown"};
    char const* const states[] = {"online", "offline", "errors", "unknown"};
    std::string const mac = "<mac>02:00:00:00:00:01</mac>";
    for (unsigned i = 0; i < 4; ++i) {
        ExpectBody<KnownHost>(mac + "<action>" + known[i] +
                                  "</action><old-name>o</old-name><new-name>&amp;</new-name>",
                              KnownHost::ActionT(i), Mac(1), "o", "&");
        ExpectBody<MwsMember>(std::string("<action>") + members[i] + "</action><state>" + states[3 - i] +
                                  "</state>" + mac + "<cid>c</cid>",
                              MwsMember::ActionT(i), MwsMember::StateT(3 - i), Mac(1), "c");
    }
    char const* const updates[] = {"none", "mac", "wireless", "unknown", "info", "unknown"};
    char const* const addresses[] = {"ip", "ip6", "unknown"};
    for (unsigned i = 0; i < 6; ++i) {
        ExpectBody<Neighbour>(std::string("<action>") + members[i % 4] + "</action><update>" + updates[i] +
                                  "</update><address-type>" + addresses[i % 3] + "</address-type>" +
                                  "<known-host>h</known-host>" + mac + "<entry-id>7</entry-id>",
                              Neighbour::ActionT(i % 4), Neighbour::UpdateT(i), Neighbour::AddressT(i % 3),
                              "h", Mac(1), 7ul);
    }
    char const* const points[] = {"start",          "stop",          "cleared", "deleted",
                                  "built-in-start", "built-in-stop", "unknown"};
    for (unsigned i = 0; i < 7; ++i) {
        ExpectBody<Schedule>(std::string("<name>n</name><action>") + points[i] +
                                 "</action><elapsed>1.500000</elapsed>" + "<type>" +
                                 (i % 3 == 1 ? "user-defined" : "built-in") + "</type>",
                             "n", Schedule::ActionT(i), Time::Span(1, 500), Schedule::TypeT(i % 3));
    }
}

TEST(EventCatalogue, PrintsPasswordsAndTagsOfAUserAsArrays) {
    StringMap passwords;
    StringVector tags;
    char const* const actions[] = {"added", "changed", "password", "removed", "unknown"};
    for (unsigned i = 0; i < 5; ++i) {
        ExpectBody<User>(std::string("<action>") + actions[i] + "</action><name>n</name><category>" +
                             (i == 0 ? "normal" : "hidden") + "</category><actor>a</actor>",
                         User::ActionT(i), "n", passwords, tags, User::CategoryT(i), "a", 1ul);
    }
    ASSERT_TRUE(passwords.Set("nt", "N") && passwords.Set("md5", "M") && tags.PushBack("cli") &&
                tags.PushBack("http"));
    ExpectBody<User>(
        "<action>added</action><name>n</name><category>normal</category><actor>a</actor>"
        "<password type=\"md5\">M</password><password type=\"nt\">N</password><tag>cli</tag><tag>http</tag>",
        User::ADDED, "n", passwords, tags, User::NORMAL, "a", 1ul);

    std::string const large(3000, 'x');
    ASSERT_TRUE(passwords.Set("md5", large.c_str()) && tags.PushBack(large.c_str()));
    User const user(User::ADDED, "n", passwords, tags, User::NORMAL, large.c_str(), 1);
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document document;
        heap.Arm();
        bool const ok = static_cast<Base const&>(user).PrintXmlBody_(*document.AppendElement("event"));
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
    });
}

// Sets an attribute, and copies the event, under each failure. What setting gives is the flag; it stays down.
template<class EventT>
void ExpectSetFailsOnce(std::function<std::unique_ptr<EventT>()> const& make,
                        std::function<bool(EventT&, char const*)> const& set) {
    ForEveryAllocation([&](Heap& heap) {
        std::unique_ptr<EventT> const event = make();
        heap.Arm();
        bool const ok = set(*event, "b");
        std::unique_ptr<Base> const clone(ok ? static_cast<Base const&>(*event).Clone_() : nullptr);
        heap.Disarm();
        EXPECT_EQ(clone == nullptr, heap.Fired());
        EXPECT_TRUE(clone == nullptr || Body(*clone) == Body(*event));
        EXPECT_EQ(set(*event, "c"), ok);
    });
}

TEST(EventCatalogue, TakesAnOpenSetOfAttributesBeforeTheRaise) {
    ExpectSetFailsOnce<Device>([] { return std::make_unique<Device>(Device::ADDED); },
                               [](Device& device, char const* name) {
                                   device.Set(name, "1");
                                   return device.Initialized();
                               });
    ExpectSetFailsOnce<Usb>([] { return std::make_unique<Usb>("d", "s", Usb::ADDED, 1); },
                            [](Usb& usb, char const* name) { return usb.Set(name, "1"); });
    ExpectSetFailsOnce<UpdateSettingsChanged>(
        [] { return std::make_unique<UpdateSettingsChanged>(); },
        [](UpdateSettingsChanged& event, char const* name) { return event.Set(name, "1"); });

    Device device(Device::CHANGED);
    device.Set("b", "2");
    device.Set("a", "1");
    Device other(Device::ADDED);
    other.Set("c", "3");
    other.AssignAttributes(device);
    std::unique_ptr<Base> const clone(other.Clone());
    auto const& copy = dynamic_cast<Device const&>(*clone);
    EXPECT_EQ(Show(copy.Action(), copy.Get("a"), copy.Get("b"), copy.Get("c")), "0|1|2|");
    EXPECT_EQ(Show(copy.Has("a"), copy.Has("c")), "1|0");

    Usb usb("d", "s", Usb::REMOVED, 3);
    EXPECT_TRUE(usb.Set(Usb::NO_LED_ATTR, "yes") && usb.Set(Usb::ALIAS_ATTR, "x"));
    std::unique_ptr<Base> const plugged(usb.Clone());
    EXPECT_EQ(Shown(dynamic_cast<Usb const&>(*plugged).Attributes()), "alias=x;no-led=yes;");

    UpdateSettingsChanged settings;
    EXPECT_TRUE(settings.Set("channel", "beta") && settings.Set("auto", "no"));
    Xml::Document document;
    EXPECT_TRUE(settings.PrintXml(document));
    EXPECT_EQ(Body(settings), "<event><auto>no</auto><channel>beta</channel></event>");
    EXPECT_EQ(Shown(settings.Attributes()), "auto=no;channel=beta;");
}

TEST(EventCatalogue, HasNoHostForANoticeThatCouldNotBeCopied) {
    Xml::Document source;
    source.AppendElement("n", std::string(9000, 'x').c_str())->AppendAttribute("id", "7");
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        ZessNotify const notice("h", source.FirstNode(), ZessNotify::HTTP);
        heap.Disarm();
        EXPECT_EQ(notice.Initialized(), !heap.Fired());
        EXPECT_EQ(notice.ServiceHost().Empty(), heap.Fired());
    });
}

TEST(EventCatalogue, HasWhatIsPeculiarToSomeClasses) {
    EXPECT_EQ(Text(IfSchedule::IDENT), "Event::Type::IfSchedule");
    EXPECT_EQ(Text(IfAuth::IDENT), "Event::Type::IfAuth");

    char const* const types[] = {"VFAT", "EXFAT", "NTFS",  "EXT2",  "EXT3", "EXT4",
                                 "HFS+", "SWAP",  "JFFS2", "UBIFS", ""};
    for (unsigned i = 0; i < std::size(types); ++i) {
        EXPECT_EQ(Text(Fs(Fs::MOUNTED, Fs::TypeT(i), "", "", "", "", "", true, true).TypeName()), types[i]);
    }
    EXPECT_FALSE(IfGlobalChanged("", "", "", 0, Time::Span()).IsGlobal());
    EXPECT_FALSE(IfLaggModeChanged("", IfLaggModeChanged::LaggModeT(0), 1).IsLaggActive());
    EXPECT_TRUE(IpSecCryptoMapChanged("", false, Ip(1), NET, Ip(2), 0).IsDown());
    EXPECT_EQ(Progress("", 1).Reboot(), REBOOT_NO);

    Xml::Document document;
    std::unique_ptr<Base> const saved(ConfigurationSaved::ParseXmlBody_(*document.AppendElement("any")));
    EXPECT_STREQ(saved->Ident(), "Event::Type::ConfigurationSaved");
    EXPECT_FALSE(saved->RaiseTime() != Time::Span());
}

} // namespace
} // namespace Event
