#include "zeb/event/StorageEvents.h"

#include "zeb/event/Words.h"

namespace Event {

char const* Device::Ident() const { return IDENT; }
Base* Device::Clone_() const {
    auto* const clone = new (std::nothrow) Device(Action());
    if (clone != nullptr) clone->AssignAttributes(*this);
    return Settle_(clone);
}

void Device::Set(CString const& name, CString const& value) {
    SetInitialized_(fields_.At<1>().Set(name, value));
}

void Device::AssignAttributes(Device const& other) {
    SetInitialized_(fields_.At<1>().Assign(other.Attributes_()));
}

char const* Usb::Ident() const { return IDENT; }
Base* Usb::Clone_() const {
    auto* const clone = new (std::nothrow) Usb(Device(), Subsystem(), Action(), Port());
    if (clone != nullptr) clone->SetInitialized_(clone->fields_.At<3>().Assign(Attributes()));
    return Settle_(clone);
}

bool Usb::Set(CString const& name, CString const& value) {
    SetInitialized_(fields_.At<3>().Set(name, value));
    return Initialized();
}

char const* Fs::Ident() const { return IDENT; }
Base* Fs::Clone_() const { return fields_.Clone<Fs>(); }

CString Fs::TypeName() const {
    static constexpr char const* NAMES[] = {"VFAT", "EXFAT", "NTFS", "EXT2",  "EXT3",
                                            "EXT4", "HFS+",  "SWAP", "JFFS2", "UBIFS"};
    return Word_(Type(), NAMES, "");
}

} // namespace Event
