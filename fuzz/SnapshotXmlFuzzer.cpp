// The snapshot XML reader on fuzzed files: broken or truncated XML, base64
// that does not decode, huge attribute values. It ends with a result, says
// broken when it is, and never hands over more bytes than it was given room
// for.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "webstep/recording/SnapshotXmlReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    SnapshotReadOptions options;
    const uint8_t flags = in.Byte();
    options.keepRequestBodies = flags & 1;
    options.keepResponseBodies = flags & 2;
    options.primaryOnly = flags & 4;
    options.maxBodyBytes = (flags & 8) ? 64 : options.maxBodyBytes;
    CSnapshotXmlReader reader(options);
    FolderMessages messages;
    std::size_t delivered = 0;
    const std::string xml = in.Rest();
    SnapshotReadResult result = reader.ReadText(
        xml, "fuzz.xml",
        [&](const HttpExchange& exchange) {
            ++delivered;
            // Bodies stay within the cap, and left-out bodies stay out.
            FUZZ_CHECK(exchange.requestBody.size() <= options.maxBodyBytes &&
                       exchange.responseBody.size() <= options.maxBodyBytes);
            FUZZ_CHECK(options.keepResponseBodies || exchange.responseBody.empty());
            return true;
        },
        messages);
    FUZZ_CHECK(result.exchanges == delivered);        // every exchange counted once
    FUZZ_CHECK(!result.broken || !messages.empty());  // a broken file says why
    return 0;
}
