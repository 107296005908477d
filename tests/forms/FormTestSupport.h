#pragma once
// Scanning small pages with the page scanner and building forms and data
// items from them, for the form tests.
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/html/HTMLScanner.h"

namespace webstep::test {

// A scanned page that keeps its scanner alive as long as forms use it.
struct ScannedPage {
    std::unique_ptr<CHTMLScanner> scanner = std::make_unique<CHTMLScanner>();
    int nForms() const { return scanner->nForms(); }
    CHTMLForm* form(int i) const { return scanner->form(static_cast<unsigned>(i)); }
};

inline std::unique_ptr<ScannedPage> Scan(const std::string& html) {
    auto page = std::make_unique<ScannedPage>();
    page->scanner->startParse();
    page->scanner->continueParse(html.data(), static_cast<unsigned>(html.size()));
    page->scanner->endParse();
    return page;
}

// The page and its first form attached.
struct FormOnPage {
    std::unique_ptr<ScannedPage> page;
    std::unique_ptr<CForm> form;
};

inline FormOnPage AttachFirst(const std::string& html, int index = 0) {
    FormOnPage f;
    f.page = Scan(html);
    CHTMLForm* node = f.page->nForms() > index ? f.page->form(index) : nullptr;
    f.form = std::make_unique<CForm>(nullptr, node, false, "");
    return f;
}

inline CData* Item(const std::string& name, const std::string& value,
                   CData::RegexType nameRegex = CData::RT_LITERAL,
                   CData::RegexType valueRegex = CData::RT_LITERAL,
                   CData::DataType type = CData::DT_UNSPECIFIED, bool readOnly = false) {
    return new CData(name, value, nameRegex, valueRegex, type, true, "", "", readOnly, "", "", "");
}

// A data set of literal items from name/value pairs.
inline std::unique_ptr<CDataSet> Items(
    const std::vector<std::pair<std::string, std::string>>& pairs) {
    auto set = std::make_unique<CDataSet>();
    for (const auto& [n, v] : pairs) {
        set->AddData(Item(n, v));
    }
    return set;
}

// name=value pairs of a data set, joined by newlines (for comparisons).
inline std::string Describe(const CDataSet& set) {
    std::string out;
    for (const CData* d : set.DataElements().GetList()) {
        out += d->GetName() + "=" + d->GetValue() + "\n";
    }
    return out;
}

inline std::string ReadWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

}  // namespace webstep::test
