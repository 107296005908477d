// The URL parser: absolute creation, relative creation against a fuzzed
// base, and every printing form. A printed URL never outgrows the size
// estimate that sizes its buffer, ToStringRep reports the length it wrote,
// the printing forms agree with ToStringRep, and path normalisation never
// lengthens a path.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "webstep/url/URLParser.h"

namespace {

void CheckPrinting(const CURLParser& url) {
    for (int options = 0; options < 8; ++options) {
        MString text;
        const int length = url.ToStringRep(text, options);
        FUZZ_CHECK(length >= 0);
        FUZZ_CHECK(static_cast<size_t>(length) == text.size());
        if (url.IsValid())
            FUZZ_CHECK(length <= url.EstimateStringRepSize(options));
    }
    if (url.IsValid()) {
        MString text;
        url.ToStringRep(text, 0);
        FUZZ_CHECK(url.GetFullURL() == text);
        url.ToStringRep(text, 2);
        FUZZ_CHECK(url.GetFullURLWithSearch() == text);
        url.ToStringRep(text, 3);
        FUZZ_CHECK(url.GetFullURLWithLabelAndSearch() == text);
    }
    // Every getter answers, valid or not.
    const MString parts[] = {url.GetProtocol(),
                             url.GetHost(),
                             url.GetMail(),
                             url.GetUserNameA(),
                             url.GetPassword(),
                             url.GetPath(),
                             url.GetFile(),
                             url.GetPortString(),
                             url.GetServer(),
                             url.GetSearch(),
                             url.GetLabel(),
                             url.GetFullPath(),
                             url.GetFullPathWithLabel(),
                             url.GetFullPathWithSearch(),
                             url.GetFullPathWithLabelAndSearch(),
                             url.GetSimplifiedHost(),
                             url.GetExtraInfo()};
    (void)parts;
    (void)url.GetPortInt();
    (void)url.IsWellKnownScheme();
    FUZZ_CHECK(url.GetFullPath() == url.GetPath() + url.GetFile());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(in.Byte()));
    const std::string base = in.Until(0);
    const std::string relative = in.Until(0);
    const std::string rest = in.Rest();

    CURLParser absolute;
    const int created = absolute.CreateFromAbsoluteURL(base.c_str());
    FUZZ_CHECK((created != 0) == absolute.IsValid());
    CheckPrinting(absolute);

    CURLParser combined;
    combined.CreateFromRelativeURL(absolute, relative.c_str());
    CheckPrinting(combined);
    CURLParser viaCreate;
    viaCreate.Create(absolute, relative.c_str());
    CheckPrinting(viaCreate);

    CURLParser fromParts;
    fromParts.CreateFromServerAndFullPath(base.c_str(), relative.c_str(), rest.c_str());
    CheckPrinting(fromParts);
    fromParts.CreateFromHostAndURLParts(base.c_str(), static_cast<unsigned int>(size),
                                        relative.c_str(), "", rest.c_str(), base.c_str(),
                                        relative.c_str(), rest.c_str());
    CheckPrinting(fromParts);

    CURLParser copy(absolute);
    FUZZ_CHECK(copy.GetFullURLWithLabelAndSearch() == absolute.GetFullURLWithLabelAndSearch());

    MString path = base;
    CURLParser::NormalizePath(path);
    FUZZ_CHECK(path.size() <= base.size());

    webstep::platform::SetProcessCodePage(0);
    return 0;
}
