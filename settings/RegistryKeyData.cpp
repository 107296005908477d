#include "webstep/settings/RegistryKeyData.h"

#include "webstep/platform/MessageBox.h"
#include "webstep/platform/Registry.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace webstep::platform {

MString RegistryKeyPath(HKEY root, const char* subKey) {
    const char* rootName = nullptr;
    switch (root) {
        case HKEY_CLASSES_ROOT:
            rootName = "HKEY_CLASSES_ROOT";
            break;
        case HKEY_CURRENT_USER:
            rootName = "HKEY_CURRENT_USER";
            break;
        case HKEY_LOCAL_MACHINE:
            rootName = "HKEY_LOCAL_MACHINE";
            break;
        case HKEY_USERS:
            rootName = "HKEY_USERS";
            break;
        default:
            return MString();
    }
    MString path = rootName;
    if (subKey != nullptr && *subKey != '\0') {
        path += '\\';
        path += subKey;
    }
    return path;
}

}  // namespace webstep::platform

namespace {

using webstep::platform::HKEY;

constexpr std::string_view kBinaryPrefix = "hex:";
constexpr std::string_view kNumberPrefix = "dword:";
constexpr std::string_view kExpandPrefix = "expand:";

enum class ValueType { String, ExpandString, Number, Binary };

struct TypedValue {
    ValueType type = ValueType::String;
    MString data;  // the text, or the raw bytes of a number or binary value
};

bool StartsWith(const MString& text, std::string_view prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// "0a,ff,10" -> bytes; false on anything else.
bool DecodeHexList(std::string_view text, MString& bytes) {
    bytes.clear();
    size_t i = 0;
    while (i < text.size()) {
        if (i + 1 >= text.size())
            return false;
        int high = HexDigit(text[i]);
        int low = HexDigit(text[i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes += static_cast<char>(high * 16 + low);
        i += 2;
        if (i < text.size()) {
            if (text[i] != ',')
                return false;
            ++i;
        }
    }
    return true;
}

bool DecodeNumber(std::string_view text, MString& bytes) {
    if (text.size() != 8)
        return false;
    unsigned long value = 0;
    for (char c : text) {
        int digit = HexDigit(c);
        if (digit < 0)
            return false;
        value = value * 16 + static_cast<unsigned long>(digit);
    }
    std::uint32_t v32 = static_cast<std::uint32_t>(value);
    bytes.assign(reinterpret_cast<const char*>(&v32), sizeof v32);
    return true;
}

// A stored text that carries a type prefix but is malformed is read as a
// plain string, as the registry would hold it.
bool ReadValue(const char* subKey, const char* valueName, HKEY root, TypedValue& value) {
    MString keyPath = webstep::platform::RegistryKeyPath(root, subKey);
    if (keyPath.empty())
        return false;
    MString stored;
    if (!webstep::platform::RegistryGetString(keyPath.c_str(), valueName ? valueName : "",
                                              stored)) {
        return false;
    }
    std::string_view view(stored);
    if (StartsWith(stored, kBinaryPrefix) &&
        DecodeHexList(view.substr(kBinaryPrefix.size()), value.data)) {
        value.type = ValueType::Binary;
    } else if (StartsWith(stored, kNumberPrefix) &&
               DecodeNumber(view.substr(kNumberPrefix.size()), value.data)) {
        value.type = ValueType::Number;
    } else if (StartsWith(stored, kExpandPrefix)) {
        value.type = ValueType::ExpandString;
        value.data = stored.substr(kExpandPrefix.size());
    } else {
        value.type = ValueType::String;
        value.data = stored;
    }
    return true;
}

int ReportWriteFailure() {
    webstep::platform::MessageBoxA(nullptr, "can not update the registry.", "Error",
                                   webstep::platform::MB_ICONSTOP);
    return 0;
}

int WriteValue(const char* subKey, const char* valueName, HKEY root, const MString& stored) {
    MString keyPath = webstep::platform::RegistryKeyPath(root, subKey);
    if (keyPath.empty() || !webstep::platform::RegistrySetString(
                               keyPath.c_str(), valueName ? valueName : "", stored.c_str())) {
        return ReportWriteFailure();
    }
    return 1;
}

}  // namespace

MString GetStringKeyData(const char* subKey, const char* valueName, HKEY root,
                         const char* defaultValue) {
    TypedValue value;
    if (ReadValue(subKey, valueName, root, value) &&
        (value.type == ValueType::String || value.type == ValueType::ExpandString)) {
        return value.data;
    }
    return defaultValue ? defaultValue : "";
}

int SetStringKeyData(const char* subKey, const char* valueName, HKEY root, const char* value) {
    MString text = value ? value : "";
    // A plain string that happens to look typed is kept as an expandable
    // one so that it reads back as a string.
    if (StartsWith(text, kBinaryPrefix) || StartsWith(text, kNumberPrefix) ||
        StartsWith(text, kExpandPrefix)) {
        text = MString(kExpandPrefix) + text;
    }
    return WriteValue(subKey, valueName, root, text);
}

unsigned long GetNumKeyData(const char* subKey, const char* valueName, HKEY root,
                            unsigned long defaultValue) {
    TypedValue value;
    if (!ReadValue(subKey, valueName, root, value) || value.type != ValueType::Number) {
        return defaultValue;
    }
    std::uint32_t number = 0;
    std::memcpy(&number, value.data.data(), sizeof number);
    return number;
}

int SetNumKeyData(const char* subKey, const char* valueName, HKEY root, unsigned long value) {
    char text[16];
    std::snprintf(text, sizeof text, "%08lx", value & 0xFFFFFFFFul);
    return WriteValue(subKey, valueName, root, MString(kNumberPrefix) + text);
}

unsigned long GetBinKeyData(const char* subKey, const char* valueName, HKEY root,
                            unsigned char* buffer, unsigned long size, unsigned char** allocated) {
    if (allocated != nullptr)
        *allocated = nullptr;
    TypedValue value;
    if (!ReadValue(subKey, valueName, root, value) || value.type != ValueType::Binary) {
        return 0;
    }
    const unsigned long length = static_cast<unsigned long>(value.data.size());
    if (buffer != nullptr && length <= size) {
        std::memcpy(buffer, value.data.data(), length);
    } else if (allocated != nullptr && length > 0) {
        auto* block = static_cast<unsigned char*>(std::malloc(length));
        if (block == nullptr)
            return 0;
        std::memcpy(block, value.data.data(), length);
        *allocated = block;
    }
    return length;
}

int SetBinKeyData(const char* subKey, const char* valueName, HKEY root, const unsigned char* data,
                  unsigned long size) {
    // Without data nothing is written, which is no failure.
    if (data == nullptr)
        return 1;
    static const char hex[] = "0123456789abcdef";
    MString text(kBinaryPrefix);
    for (unsigned long i = 0; i < size; ++i) {
        if (i > 0)
            text += ',';
        text += hex[data[i] >> 4];
        text += hex[data[i] & 0x0F];
    }
    return WriteValue(subKey, valueName, root, text);
}
