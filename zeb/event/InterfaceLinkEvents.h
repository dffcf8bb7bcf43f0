#pragma once

// The links of interfaces: layers, speed, packet size, aggregation. Raised by the interface manager.

#include "zeb/core/String.h"
#include "zeb/event/Fields.h"

namespace Event {

// A port has joined a link aggregation group, or has left it.
class ZEB_PUBLIC IfLaggModeChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfLaggModeChanged";

    enum LaggModeT : uint32_t { INACTIVE = 0, STATIC = 1, LACP = 2 };

    IfLaggModeChanged(CString const& id, LaggModeT mode, unsigned long group) {
        SetInitialized_(fields_.Assign(id, mode, group));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    LaggModeT Mode() const { return fields_.At<1>(); }
    unsigned long Group() const { return fields_.At<2>(); }
    bool IsLaggActive() const { return Mode() != INACTIVE; }

private:
    Base* Clone_() const override;

    Fields<String, LaggModeT, unsigned long> fields_;
};

// A layer of an interface has changed its level.
class ZEB_PUBLIC IfLayerChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfLayerChanged";

    enum LayerT : uint32_t { CONFIGURATION = 0, LINK = 1, IPV4 = 2, IPV6 = 3, CONTROL = 4 };
    enum LevelT : uint32_t { DISABLED = 0, PENDING = 1, RUNNING = 2 };

    IfLayerChanged(CString const& id, CString const& systemName, LayerT layer, LevelT level) {
        SetInitialized_(fields_.Assign(id, systemName, layer, level));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& SystemName() const { return fields_.At<1>(); }
    LayerT Layer() const { return fields_.At<2>(); }
    LevelT Level() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, LayerT, LevelT> fields_;
};

// The speeds of a link, in bits a second.
class ZEB_PUBLIC IfLinkSpeedChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfLinkSpeedChanged";

    IfLinkSpeedChanged(CString const& id, uint64_t speedRx, uint64_t speedTx) {
        SetInitialized_(fields_.Assign(id, speedRx, speedTx));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    uint64_t SpeedRx() const { return fields_.At<1>(); }
    uint64_t SpeedTx() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, uint64_t, uint64_t> fields_;
};

// The largest packet of an interface, in bytes, has changed.
class ZEB_PUBLIC IfMtuChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfMtuChanged";

    IfMtuChanged(CString const& id, CString const& systemName, unsigned long mtu) {
        SetInitialized_(fields_.Assign(id, systemName, mtu));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& SystemName() const { return fields_.At<1>(); }
    unsigned long Mtu() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, unsigned long> fields_;
};

// The isolation of the peers of an interface has been switched.
class ZEB_PUBLIC IfPeerIsolationChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfPeerIsolationChanged";

    explicit IfPeerIsolationChanged(CString const& id) { SetInitialized_(fields_.Assign(id)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

} // namespace Event
