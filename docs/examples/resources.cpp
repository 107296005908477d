// The message string table: the error messages by identifier, in UTF-8, in
// English, and converted to a code page the way the platform's string loader
// delivers them.
#include <webstep/platform/CodePage.h>
#include <webstep/resources/StringTable.h>
#include <webstep/steps/WebStepError.h>

#include <cstdio>
#include <cstring>

using namespace webstep::resources;

int main() {
    // The error code's message identifier, then the texts under it.
    unsigned int id = CWebStepErrMsg::GetMessageStringID(WSE_MISSING_ATTRIBUTE);
    std::printf("code %u -> string %u\n", static_cast<unsigned>(WSE_MISSING_ATTRIBUTE), id);
    const char* utf8 = FindStringUtf8(id);
    const char* english = FindEnglishString(id);
    std::printf("UTF-8: %s\nEnglish: %s\n", utf8 ? utf8 : "(none)", english ? english : "(none)");

    // GBK holds the Chinese text; a small buffer gets whole characters only.
    char gbk[256];
    std::size_t n = LoadStringA(id, gbk, sizeof gbk, webstep::platform::CP_GBK);
    char tiny[4];
    std::size_t cut = LoadStringA(id, tiny, sizeof tiny, webstep::platform::CP_GBK);
    std::printf("GBK: %zu bytes; into 4 bytes: %zu bytes\n", n, cut);

    // Unknown identifiers give null and 0.
    char unused[8] = "kept";
    bool unknown = FindStringUtf8(kLastStringId + 1) == nullptr &&
                   LoadStringA(kLastStringId + 1, unused, sizeof unused) == 0 &&
                   std::strcmp(unused, "kept") == 0;
    return utf8 && english && n > 0 && cut % 2 == 0 && cut <= 3 && unknown ? 0 : 1;
}
