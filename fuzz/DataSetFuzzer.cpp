// Reading recorded request bodies into data sets, URL-encoded and multipart,
// with every flag. A URL-encoded body gives one item per pair that holds an
// equals sign; a multipart body never more items than delimiters; the
// argument escaping round trip restores every text.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/EscArgs.h"

namespace {

size_t CountPairs(std::string rest) {
    size_t pairs = 0;
    while (rest.find('=') != std::string::npos) {
        ++pairs;
        const size_t equals = rest.find('=');
        const size_t amp = rest.find('&', equals + 1);
        rest = amp == std::string::npos ? std::string() : rest.substr(amp + 1);
    }
    return pairs;
}

size_t CountOccurrences(const std::string& text, const std::string& what) {
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(in.Byte()));
    const uint8_t flags = in.Byte();
    const bool multipart = flags & 1;
    const bool binaryEscaped = flags & 2;
    const bool skipRoundTrip = flags & 4;
    const bool fromUtf8 = flags & 8;
    const bool binaryFlag = flags & 16;
    const std::string boundary = multipart ? in.Until(0) : std::string();
    const std::string body = in.Rest();

    CDataSet set;
    bool roundTripOk = false;
    bool atWasEscaped = true;
    set.AddDataFromString(body, boundary, binaryEscaped, skipRoundTrip, roundTripOk, atWasEscaped,
                          fromUtf8, binaryFlag);
    if (boundary.empty()) {
        FUZZ_CHECK(set.GetNumElements() == CountPairs(body));
        if (!fromUtf8) {
            for (const CData* item : set.DataElements().GetList())
                FUZZ_CHECK(item->GetName().size() <= body.size() &&
                           item->GetValue().size() <= body.size());
        }
    } else {
        FUZZ_CHECK(set.GetNumElements() <= CountOccurrences(body, "--" + boundary));
    }
    // Reading again replaces the items.
    const unsigned int first = set.GetNumElements();
    set.AddDataFromString(body, boundary, binaryEscaped, skipRoundTrip, roundTripOk, atWasEscaped,
                          fromUtf8, binaryFlag);
    FUZZ_CHECK(set.GetNumElements() == first);

    for (bool escapeAt : {false, true}) {
        MString text = body;
        EscArgs(text, escapeAt);
        bool sawAt = false;
        UnEscArgs(text, &sawAt);
        FUZZ_CHECK(text == body);
        if (escapeAt)
            FUZZ_CHECK(sawAt == (body.find('@') != std::string::npos));
    }
    MString attribute;
    CDataSet::ExtractRequestAttributeEx(body, boundary, attribute);
    FUZZ_CHECK(attribute.size() <= body.size());

    webstep::platform::SetProcessCodePage(0);
    return 0;
}
