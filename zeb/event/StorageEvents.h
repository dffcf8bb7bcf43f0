#pragma once

// Device nodes, USB devices and file systems.

#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"
#include "zeb/event/Fields.h"

namespace Event {

// A device node has come or gone, with an open set of attributes.
class ZEB_PUBLIC Device : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Device";

    enum ActionT : uint32_t { ADDED = 0, REMOVED = 1, CHANGED = 2 };

    explicit Device(ActionT action) { SetInitialized_(fields_.Assign(action)); }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }

    // CString::Nil() when there is no such attribute.
    CString const& Get(CString const& name) const { return Attributes_().Get(name); }
    bool Has(CString const& name) const { return Attributes_().Has(name); }

    // Before the event is raised. When memory runs out, Initialized() is false from then on.
    void Set(CString const& name, CString const& value);
    void AssignAttributes(Device const& other);

private:
    Base* Clone_() const override;

    StringMap const& Attributes_() const { return fields_.At<1>(); }

    Fields<ActionT, StringMap> fields_;
};

// A USB device has been plugged or unplugged, with an open set of attributes.
class ZEB_PUBLIC Usb : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Usb";

    static constexpr char ALIAS_ATTR[] = "alias";
    static constexpr char NO_LED_ATTR[] = "no-led";

    enum ActionT : uint32_t { ADDED = 0, REMOVED = 1 };

    Usb(CString const& device, CString const& subsystem, ActionT action, unsigned long port) {
        SetInitialized_(fields_.Assign(device, subsystem, action, StringMap(), port));
    }

    char const* Ident() const override;

    String const& Device() const { return fields_.At<0>(); }
    String const& Subsystem() const { return fields_.At<1>(); }
    ActionT Action() const { return fields_.At<2>(); }
    StringMap const& Attributes() const { return fields_.At<3>(); }
    unsigned long Port() const { return fields_.At<4>(); }

    // Before the event is raised. The result is that of Initialized().
    bool Set(CString const& name, CString const& value);

private:
    Base* Clone_() const override;

    Fields<String, String, ActionT, StringMap, unsigned long> fields_;
};

// A file system has been mounted or unmounted.
class ZEB_PUBLIC Fs : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Fs";

    enum ActionT : uint32_t { MOUNTED = 0, UNMOUNTED = 1 };
    enum TypeT : uint32_t {
        VFAT = 0,
        EXFAT = 1,
        NTFS = 2,
        EXT2 = 3,
        EXT3 = 4,
        EXT4 = 5,
        HFS_PLUS = 6,
        SWAP = 7,
        JFFS2 = 8,
        UBIFS = 9
    };

    Fs(ActionT action, TypeT type, CString const& name, CString const& label, CString const& storage,
       CString const& directory, CString const& systemDirectory, bool isUserMountable, bool isUserPluggable) {
        SetInitialized_(fields_.Assign(action, type, name, label, storage, directory, systemDirectory,
                                       isUserMountable, isUserPluggable));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    TypeT Type() const { return fields_.At<1>(); }
    String const& Name() const { return fields_.At<2>(); }
    String const& Label() const { return fields_.At<3>(); }
    String const& Storage() const { return fields_.At<4>(); }
    String const& Directory() const { return fields_.At<5>(); }
    String const& SystemDirectory() const { return fields_.At<6>(); }
    bool IsUserMountable() const { return fields_.At<7>(); }
    bool IsUserPluggable() const { return fields_.At<8>(); }

    // "VFAT" and so on; the nil string for any other type.
    CString TypeName() const;

private:
    Base* Clone_() const override;

    Fields<ActionT, TypeT, String, String, String, String, String, bool, bool> fields_;
};

} // namespace Event
