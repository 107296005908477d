#include "PageCommand.h"

#include "webstep/html/HTMLPageDump.h"
#include "webstep/html/HTMLScanner.h"

#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

struct PageOptions {
    std::string file;
    bool json = false;
};

// Pages are fed in the pieces a download would bring.
constexpr size_t kPieceSize = 16 * 1024;

int RunPage(const PageOptions& options) {
    std::ifstream in(options.file, std::ios::binary);
    if (!in) {
        std::cerr << "webstep page: cannot read \"" << options.file << "\"\n";
        return 2;
    }
    CHTMLScanner scanner;
    scanner.startParse();
    std::vector<char> piece(kPieceSize);
    while (in) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        if (in.gcount() > 0)
            scanner.continueParse(piece.data(), static_cast<unsigned>(in.gcount()));
    }
    if (in.bad()) {
        std::cerr << "webstep page: error while reading \"" << options.file << "\"\n";
        return 2;
    }
    scanner.endParse();
    MString out = options.json ? CHTMLPageDump::Json(scanner) : CHTMLPageDump::Text(scanner);
    std::cout << out;
    if (!out.empty() && out.back() != '\n')
        std::cout << '\n';
    return 0;
}

}  // namespace

void AddPageCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<PageOptions>();
    CLI::App* page = app.add_subcommand(
        "page",
        "Print the model of an HTML page: title, frame flags, forms with their elements, links, "
        "image maps, base elements and refresh.\n"
        "  example: webstep page data/t3.html\n"
        "  example: webstep page --json data/t3.html");
    page->add_option("FILE", options->file, "The HTML page")->required();
    page->add_flag("--json", options->json, "Print the model as one JSON object");
    page->footer(
        "Examples:\n"
        "  webstep page data/t3.html\n"
        "  webstep page --json data/t3.html");
    page->callback([options, exitCode] { *exitCode = RunPage(*options); });
}

}  // namespace webstep::cli
