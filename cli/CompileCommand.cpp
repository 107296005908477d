#include "CompileCommand.h"

#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/CompiledScript.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

namespace webstep::cli {
namespace {

struct CompileOptions {
    std::string folder;
    std::string compiler;
    bool force = false;
};

int Compile(const CompileOptions& options) {
    std::error_code error;
    if (!std::filesystem::is_directory(options.folder, error)) {
        std::cerr << "webstep compile: " << options.folder << ": not a directory\n";
        return 2;
    }
    CScriptFolder folder;
    FolderMessages messages;
    if (!folder.Open(options.folder, messages)) {
        std::cerr << "webstep compile: " << options.folder << ": cannot read the folder\n";
        return 2;
    }
    CCompiledScript script;
    CompiledScriptOptions compile;
    compile.compile.compiler = options.compiler;
    compile.compile.force = options.force;
    FolderMessages compileMessages;
    const bool ok = script.Load(folder, compileMessages, compile);
    for (const FolderMessage& message : compileMessages)
        std::cout << message.Format() << "\n";
    if (!ok) {
        // The compiler's own messages, as it wrote them.
        std::cerr << script.Error();
        if (!script.Error().empty() && script.Error().back() != '\n')
            std::cerr << "\n";
        std::cerr << "webstep compile: " << options.folder
                  << (script.CompileFailed() ? ": the C does not compile\n"
                                             : ": the compiled C does not load\n");
        return 2;
    }
    const ScriptCompileResult& result = script.Compilation();
    std::cout << "compiled " << result.actions.size() << " action"
              << (result.actions.size() == 1 ? "" : "s") << " (";
    for (std::size_t i = 0; i < result.actions.size(); ++i)
        std::cout << (i ? ", " : "") << result.actions[i].name;
    std::cout << ") into " << result.object << (result.cached ? " (from the cache)" : "") << "\n";
    return 0;
}

}  // namespace

void AddCompileCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<CompileOptions>();
    CLI::App* compile = app.add_subcommand(
        "compile",
        "Compile the C of a script folder (the action files its description names, with "
        "globals.h) into the shared object a replay runs, with webstep's runtime header standing "
        "in for the recording tool's headers (a note names each). The object is cached by its "
        "sources and the compiler's version ($WEBSTEP_CACHE_DIR, else $XDG_CACHE_HOME/webstep, "
        "else ~/.cache/webstep). Exit status 0 when it compiles and loads, 2 when it does not "
        "(the compiler's own messages are shown) or the folder cannot be read");
    compile
        ->add_option("DIR", options->folder,
                     "The script folder.\n  example: webstep compile examples/northfield-branches")
        ->required();
    compile
        ->add_option("--cc", options->compiler,
                     "The C compiler command (default: $CC, else cc).\n  example: webstep "
                     "compile --cc clang examples/northfield-branches")
        ->type_name("COMMAND");
    compile->add_flag("--force", options->force,
                      "Compile again even when the cache holds the object.\n  example: webstep "
                      "compile --force examples/northfield-branches");
    compile->footer(
        "Examples:\n"
        "  webstep compile examples/northfield-branches\n"
        "  CC=clang webstep compile --force examples/library-loans");
    compile->callback([options, exitCode]() { *exitCode = Compile(*options); });
}

}  // namespace webstep::cli
