#include "FormCommand.h"

#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLScanner.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

struct FormOptions {
    std::string page;
    int formNumber = 0;  // 1-based; 0 when not given
    std::string action;
    std::vector<std::string> items;
    bool defaults = false;
};

bool ReadFile(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

// The form chosen by number, else the first whose action contains the text,
// else the first form of the page.
CHTMLForm* ChooseForm(const CHTMLScanner& scanner, const FormOptions& options, std::string& why) {
    const int count = scanner.nForms();
    if (count == 0) {
        why = "the page has no form";
        return nullptr;
    }
    if (options.formNumber > 0) {
        if (options.formNumber > count) {
            why = "the page has " + std::to_string(count) + " form(s), not " +
                  std::to_string(options.formNumber);
            return nullptr;
        }
        return scanner.form(static_cast<unsigned>(options.formNumber - 1));
    }
    if (!options.action.empty()) {
        for (int i = 0; i < count; ++i) {
            CHTMLForm* form = scanner.form(static_cast<unsigned>(i));
            const char* action = form->action();
            if (action != nullptr &&
                std::string(action).find(options.action) != std::string::npos) {
                return form;
            }
        }
        why = "no form's action contains \"" + options.action + "\"";
        return nullptr;
    }
    return scanner.form(0);
}

int RunForm(const FormOptions& options) {
    std::string text;
    if (!ReadFile(options.page, text)) {
        std::cerr << "webstep form: cannot read \"" << options.page << "\"\n";
        return 2;
    }
    CHTMLScanner scanner;
    scanner.startParse();
    if (!text.empty())
        scanner.continueParse(text.data(), static_cast<unsigned>(text.size()));
    scanner.endParse();

    std::string why;
    CHTMLForm* node = ChooseForm(scanner, options, why);
    if (node == nullptr) {
        std::cerr << "webstep form: " << why << " (" << options.page << ")\n";
        return 1;
    }
    std::unique_ptr<CHTMLVParser> page(scanner.CreateObject());
    CForm form(page.get(), node, true, "");

    MString body;
    MString boundary;
    if (options.defaults || options.items.empty()) {
        form.GetDefaultArgs(body, boundary);
    } else {
        CDataSet set;
        for (const std::string& item : options.items) {
            size_t equals = item.find('=');
            if (equals == std::string::npos || equals == 0) {
                std::cerr << "webstep form: --item takes NAME=VALUE, not \"" << item << "\"\n";
                return 2;
            }
            set.AddData(new CData(item.substr(0, equals), item.substr(equals + 1),
                                  CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_UNSPECIFIED, true,
                                  "", "", false, "", "", ""));
        }
        if (!form.CheckAgainstDataSet(&set)) {
            std::cerr << "webstep form: the items do not fit the form (a name it lacks, or a "
                         "value its field refuses)\n";
            return 1;
        }
        form.SetToDataSet(&set);
        form.GetSubmitArgs(body, boundary);
    }
    std::cout << "action: " << form.GetActionUrl() << '\n';
    // The page model's reading of "method" (any letter case; GET unless POST).
    std::cout << "method: " << (node->method() == CHTMLForm::METHOD_POST ? "POST" : "GET") << '\n';
    if (!boundary.empty())
        std::cout << "boundary: " << boundary << '\n';
    std::cout << "body:\n" << body;
    if (body.empty() || body.back() != '\n')
        std::cout << '\n';
    return 0;
}

}  // namespace

void AddFormCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<FormOptions>();
    CLI::App* form = app.add_subcommand(
        "form",
        "Print the request body that submitting a form of an HTML page sends: with --item "
        "values set as a script's item data would set them, or the page's defaults.\n"
        "  example: webstep form data/t2.html --action login --item card=12345 --item pin=0000\n"
        "  example: webstep form data/t2.html --form 2 --default");
    form->add_option("PAGE", options->page, "The HTML page")->required();
    auto* number =
        form->add_option("--form", options->formNumber, "The form's number on the page, from 1")
            ->check(CLI::PositiveNumber);
    form->add_option("--action", options->action, "Pick the first form whose action contains TEXT")
        ->excludes(number);
    form->add_option("--item", options->items, "NAME=VALUE to set; may be repeated");
    form->add_flag("--default", options->defaults, "Send the page's default values");
    form->footer(
        "Examples:\n"
        "  webstep form data/t1.html                                  first form, default values\n"
        "  webstep form data/t2.html --form 2 --default               the second form's defaults\n"
        "  webstep form data/t2.html --action login --item card=12345 --item pin=0000");
    form->callback([options, exitCode] { *exitCode = RunForm(*options); });
}

}  // namespace webstep::cli
