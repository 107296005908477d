// Forms and data sets: a page form is attached to a CForm, a script's item
// data is checked against its fields and set into them, and the request body
// the submission sends is built. A data set can also become a body without a
// page (web_submit_data).
#include <webstep/forms/Data.h>
#include <webstep/forms/DataSet.h>
#include <webstep/forms/Form.h>
#include <webstep/html/HTMLScanner.h>

#include <cstdio>
#include <memory>

namespace {

// An item as ITEMDATA writes it: "Name=...", "Value=...", ENDITEM.
CData* Item(const char* name, const char* value) {
    return new CData(name, value, CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_UNSPECIFIED, true,
                     "", "", false, "", "", "");
}

}  // namespace

int main() {
    const char page[] =
        "<form action=\"/loans\" method=\"post\">"
        "<input type=\"hidden\" name=\"session\" value=\"abc\">"
        "<input name=\"card\"> <input type=\"password\" name=\"pin\">"
        "<select name=\"branch\"><option>North<option>South</select>"
        "<input type=\"submit\" name=\"go\" value=\"Borrow\">"
        "</form>";
    CHTMLScanner scanner;
    scanner.startParse();
    scanner.continueParse(page, sizeof page - 1);
    scanner.endParse();
    if (scanner.nForms() != 1)
        return 1;
    // The form object reads the page through its facade; keep the facade
    // alive as long as the form.
    std::unique_ptr<CHTMLVParser> facade(scanner.CreateObject());
    CForm form(facade.get(), scanner.form(0), true, "");

    CDataSet items;  // owns its items
    items.AddData(Item("card", "12345"));
    items.AddData(Item("pin", "0000"));
    items.AddData(Item("branch", "South"));
    if (!form.CheckAgainstDataSet(&items)) {
        std::printf("the items do not fit the form\n");
        return 1;
    }
    form.SetToDataSet(&items);
    MString body, boundary;
    form.GetSubmitArgs(body, boundary);  // empty boundary: URL-encoded
    std::printf("POST %s\n%s\n", form.GetActionUrl().c_str(), body.c_str());

    // A value the field cannot take is refused: "East" is no option.
    CDataSet wrong;
    wrong.AddData(Item("branch", "East"));
    bool accepted = form.CheckAgainstDataSet(&wrong);
    std::printf("branch=East accepted: %s\n", accepted ? "yes" : "no");

    // Without a page: the items in order, URL-encoded.
    CDataSet data;
    data.AddData(Item("q", "a b&c"));
    data.AddData(Item("page", "2"));
    MString plain;
    data.CreateArgumentsFromData("", false, plain);
    std::printf("%s\n", plain.c_str());

    return !accepted && body.find("card=12345") != MString::npos &&
                   body.find("branch=South") != MString::npos
               ? 0
               : 1;
}
