#include "zeb/core/HexString.h"
#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/ImageImpl.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

zeb_fw_tag const ZEB_FW_TAG_SET[ZEB_FW_TAG_COUNT] = {
    {"firmware_id", ZEB_FW_TAG_FIRMWARE_ID},   {"hardware_id", ZEB_FW_TAG_HARDWARE_ID},
    {"customer", ZEB_FW_TAG_CUSTOMER},         {"device_manufacturer", ZEB_FW_TAG_DEVICE_MANUFACTURER},
    {"model_series", ZEB_FW_TAG_MODEL_SERIES}, {"vendor", ZEB_FW_TAG_VENDOR},
    {"vendor_email", ZEB_FW_TAG_VENDOR_EMAIL}, {"vendor_short", ZEB_FW_TAG_VENDOR_SHORT},
    {"vendor_url", ZEB_FW_TAG_VENDOR_URL},     {"version", ZEB_FW_TAG_VERSION},
    {"components", ZEB_FW_TAG_COMPONENTS},
};

char const* zeb_fw_tag_name(unsigned tag) {
    for (zeb_fw_tag const& known : ZEB_FW_TAG_SET)
        if (known.tag == tag) return known.name;
    return nullptr;
}

bool zeb_fw_parse_firmware_id(char const* text, size_t length, unsigned* id) {
    constexpr size_t DIGITS = 8, PREFIX = 2;
    *id = 0;
    if (length < PREFIX) return false;
    if (text[0] == '0' && (text[1] | 0x20) == 'x') {
        text += PREFIX;
        length -= PREFIX;
    }
    if (length != DIGITS) return false;
    unsigned number = 0;
    for (size_t i = 0; i < DIGITS; ++i) {
        unsigned char const digit = HexString::CHAR_DIGIT_MAP[static_cast<unsigned char>(text[i])];
        if (digit == HexString::NO_DIGIT) return false;
        number = number << 4 | digit;
    }
    *id = number;
    return true;
}

void zeb_fw_free_tlv(zeb_fw_tlv* set, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        free(set[i].value);
        set[i].value = nullptr;
        set[i].size = 0;
    }
}

bool zeb_fw_dump_tlv_set_(zeb_fw_error* error, zeb_fw_image_ const& image, zeb_fw_tlv* set, size_t count) {
    for (zeb_fw_tlv* entry = set; entry < set + count; ++entry) {
        auto const tag = static_cast<uint32_t>(entry->tag);
        if (entry->tag > ZEB_FW_USER_TAG_MAX)
            return zeb_fw_error_(error, 901, "unable to get 0x%08x non-user tag value", tag);
        size_t size;
        unsigned char const* const value = image.Get(tag, size);
        if (value == nullptr) continue;
        char* const copy = static_cast<char*>(malloc(size + 1));
        if (copy == nullptr) return zeb_fw_error_sys_(error, 902, "unable to allocate 0x%08x tag value", tag);
        memcpy(copy, value, size);
        copy[size] = '\0';
        entry->value = copy;
        entry->size = size;
    }
    return true;
}

char* zeb_fw_alloc_hex_string_(void const* data, size_t size) {
    constexpr size_t SIZE_MAX_ = 0x5555555555555555;
    if (size > SIZE_MAX_) {
        errno = ENOMEM;
        return nullptr;
    }
    char* const text = static_cast<char*>(malloc(size == 0 ? 1 : size * 3));
    if (text == nullptr) return nullptr;
    char* at = text;
    auto const* const bytes = static_cast<unsigned char const*>(data);
    for (size_t i = 0; i < size; ++i) {
        if (i != 0) *at++ = ':';
        *at++ = HexString::LOWER_DIGITS[bytes[i] >> 4];
        *at++ = HexString::LOWER_DIGITS[bytes[i] & 0xF];
    }
    *at = '\0';
    return text;
}
