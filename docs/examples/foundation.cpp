// Foundation types: an attribute set with case-insensitive names, bytes
// written in script form and read back, and a growable text buffer.
#include <webstep/foundation/BinaryDataHandler.h>
#include <webstep/foundation/PropertyBag.h>
#include <webstep/foundation/TextBuffer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main() {
    // Names compare without regard to case; a second "url" is refused
    // unless duplicates are asked for.
    CAttributeSet attributes;
    attributes.AddAttribute("URL", "http://example.org/", false);
    attributes.AddAttribute("Mode", "HTML", false);
    bool added = attributes.AddAttribute("url", "http://other.example/", false);
    MString url;
    attributes.GetAttribute("url", url);
    std::printf("%u attributes, URL=%s, duplicate added: %s\n", attributes.GetNumItems(),
                url.c_str(), added ? "yes" : "no");
    if (attributes.GetNumItems() != 2 || url != "http://example.org/" || added)
        return 1;

    // Bytes that cannot stand in a C string literal become \xHH escapes.
    const unsigned char body[] = {'i', 'd', '=', 0x01, 0xFF, '\\'};
    MString script;
    bool escaped = CBinaryDataHandler::ConvertBinaryToAscii(body, sizeof body, script, false);
    std::printf("script form: %s (escapes needed: %s)\n", script.c_str(), escaped ? "yes" : "no");

    // Back to bytes: the buffer is the caller's and is freed with free().
    char* bytes = nullptr;
    int length = CBinaryDataHandler::ConvertAsciiToBinary(script.c_str(), &bytes, true);
    bool same =
        length == static_cast<int>(sizeof body) && std::memcmp(bytes, body, sizeof body) == 0;
    std::free(bytes);
    std::printf("round trip: %d bytes, %s\n", length, same ? "identical" : "DIFFERENT");
    if (!escaped || !same)
        return 1;

    CTextBuffer text("Hello");
    text.append(", world");
    std::printf("%s (%d bytes)\n", text.buffer(), text.size());
    return text.size() == 12 ? 0 : 1;
}
