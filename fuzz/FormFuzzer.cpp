// Form matching over a fuzzed page and a fuzzed data set: each form of the
// page is attached, checked and set from the items in any order and in
// recorded order, and its body is built. Checks can be repeated in any
// order with the same answers, setting agrees with checking, and the body
// built after the same setting is the same (a multipart body differs only
// in its boundary, which it must hold).
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/html/HTMLScanner.h"

namespace {

std::string WithoutBoundary(std::string body, const std::string& boundary) {
    if (boundary.empty())
        return body;
    for (size_t at = body.find(boundary); at != std::string::npos; at = body.find(boundary, at + 1))
        body.replace(at, boundary.size(), "B");
    return body;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    webstep::fuzz::FuzzInput in(data, size);
    webstep::platform::SetProcessCodePage(webstep::fuzz::PickCodePage(in.Byte()));
    CDataSet set;
    const size_t count = in.Byte() % 12;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t options = in.Byte();
        // Regular expressions are kept short: matching time is not what is
        // tested here.
        std::string name = in.Until(0);
        std::string value = in.Until(0);
        const bool nameRegex = options & 1;
        const bool valueRegex = options & 2;
        if (nameRegex)
            name.resize(std::min<size_t>(name.size(), 12));
        if (valueRegex)
            value.resize(std::min<size_t>(value.size(), 12));
        set.AddData(new CData(name, value, nameRegex ? CData::RT_REGEX : CData::RT_LITERAL,
                              valueRegex ? CData::RT_REGEX : CData::RT_LITERAL,
                              static_cast<CData::DataType>((options >> 2) % 11), true, "", "",
                              (options & 0x80) != 0, "", "", ""));
    }
    const std::string page = in.Rest();

    CHTMLScanner scanner;
    scanner.startParse();
    scanner.continueParse(page.data(), static_cast<unsigned>(page.size()));
    scanner.endParse();

    for (int f = 0; f < scanner.nForms() && f < 4; ++f) {
        CForm form(nullptr, scanner.form(static_cast<unsigned>(f)), false, "");
        const bool checked = form.CheckAgainstDataSet(&set);
        const bool setOk = form.SetToDataSet(&set);
        FUZZ_CHECK(checked == setOk);
        MString body1, boundary1, body2, boundary2;
        form.GetSubmitArgs(body1, boundary1);
        FUZZ_CHECK(form.SetToDataSet(&set) == setOk);
        form.GetSubmitArgs(body2, boundary2);
        FUZZ_CHECK(WithoutBoundary(body1, boundary1) == WithoutBoundary(body2, boundary2));
        if (form.GetEncoding() != ENCTYPE_URLENCODED && !boundary1.empty())
            FUZZ_CHECK(body1.find(boundary1) != MString::npos || body1.empty());

        const bool recorded = form.CheckAgainstRecordedDataSet(&set);
        FUZZ_CHECK(form.SetToRecordedDataSet(&set) == recorded);
        MString body3, boundary3;
        form.GetSubmitArgs(body3, boundary3);

        CDataSet current;
        form.GetDataSet(current);
        CForm copy(form);
        MString body4, boundary4;
        copy.GetSubmitArgs(body4, boundary4);
        FUZZ_CHECK(WithoutBoundary(body3, boundary3) == WithoutBoundary(body4, boundary4));
        MString defaults, defaultBoundary;
        form.GetDefaultArgs(defaults, defaultBoundary);
    }
    webstep::platform::SetProcessCodePage(0);
    return 0;
}
