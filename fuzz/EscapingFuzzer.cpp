// Script token decoding and the binary escaping round trip. Escaped bytes
// decode back to the same bytes when no double-byte character set is on;
// the buffer form reports the full size, writes exactly the units that fit
// and never writes past the caller's capacity; a decoded token is never
// longer than the token.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "webstep/foundation/BinaryDataHandler.h"
#include "webstep/script/WebStepScript.h"

namespace {

unsigned UnitWidth(unsigned char byte) {
    if (byte == '\\')
        return 2;
    const bool printable = byte < 127 && (byte >= 32 || byte == 13 || byte == 10 || byte == 9);
    return printable ? 1 : 4;
}

void CheckToken(const std::string& token) {
    MString value = "left over";
    CWebStepScript::SetTokenValue(token.c_str(), value);
    const size_t length = std::strlen(token.c_str());
    FUZZ_CHECK(value.size() <= length);
    if (!token.empty() && token[0] != '"' && token.find('\\') == std::string::npos &&
        !webstep::platform::IsDbcsEnabled()) {
        FUZZ_CHECK(value == token.substr(0, length));
    }
}

void CheckRoundTrip(const std::string& bytes, bool keepText) {
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto length = static_cast<unsigned int>(bytes.size());
    MString escaped;
    const bool needed =
        CBinaryDataHandler::ConvertBinaryToAsciiEx(data, length, escaped, false, keepText);
    MString checked;
    FUZZ_CHECK(CBinaryDataHandler::ConvertBinaryToAsciiEx(data, length, checked, true, keepText) ==
               needed);
    FUZZ_CHECK(escaped.find('\0') == MString::npos);
    FUZZ_CHECK(escaped.size() <= 4 * bytes.size());
    char* decoded = nullptr;
    const int count = CBinaryDataHandler::ConvertAsciiToBinary(escaped.c_str(), &decoded, true);
    FUZZ_CHECK(decoded != nullptr);
    if (!webstep::platform::IsDbcsEnabled()) {
        FUZZ_CHECK(count == static_cast<int>(bytes.size()));
        FUZZ_CHECK(std::memcmp(decoded, bytes.data(), bytes.size()) == 0);
    }
    std::free(decoded);
}

void CheckBuffer(const std::string& bytes, unsigned int capacity) {
    // The input is tested for write access too, so it lives in a writable copy.
    std::unique_ptr<unsigned char[]> data(new unsigned char[bytes.size() + 1]);
    std::memcpy(data.get(), bytes.data(), bytes.size());
    const auto length = static_cast<unsigned int>(bytes.size());
    std::unique_ptr<char[]> out(new char[capacity == 0 ? 1 : capacity]);
    std::memset(out.get(), '#', capacity == 0 ? 1 : capacity);
    unsigned int outLength = capacity;
    CBinaryDataHandler::ConvertBinaryToAscii(
        data.get(), length, capacity == 0 ? nullptr : out.get(), &outLength, false);
    if (length == 0 || capacity == 0)
        return;
    size_t full = 0;
    size_t fitting = 0;
    for (unsigned char byte : bytes) {
        full += UnitWidth(byte);
        if (full <= capacity)
            fitting = full;
    }
    FUZZ_CHECK(outLength == full);
    MString whole;
    CBinaryDataHandler::ConvertBinaryToAsciiEx(data.get(), length, whole, false, true);
    if (!webstep::platform::IsDbcsEnabled()) {
        FUZZ_CHECK(whole.size() == full);
        FUZZ_CHECK(std::memcmp(out.get(), whole.data(), fitting) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(in.Byte()));
    const unsigned int capacity = in.Byte();
    const std::string token = in.Until(0);
    const std::string bytes = in.Rest();
    CheckToken(token);
    CheckToken(bytes);
    CheckRoundTrip(bytes, true);
    CheckRoundTrip(bytes, false);
    CheckBuffer(bytes, capacity);
    webstep::platform::SetProcessCodePage(0);
    return 0;
}
