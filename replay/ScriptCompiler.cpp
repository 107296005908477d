#include "webstep/replay/ScriptCompiler.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <sstream>

extern char** environ;

namespace fs = std::filesystem;

namespace {

const char kRuntimeHeaderText[] =
#include "webstep/RuntimeHeaderText.inc"
    ;

// The language flags: GNU C99 (loops may declare their counter), no warnings
// (recorded scripts have many), and the old forms kept as warnings where a
// compiler makes them errors by default.
const char* const kFlags[] = {"-std=gnu99", "-w", "-Wno-error=implicit-function-declaration",
                              "-Wno-error=implicit-int", "-Wno-error=int-conversion",
                              "-Wno-error=incompatible-pointer-types", "-fPIC", "-shared", "-O1",
                              "-fno-strict-aliasing",
                              // The script's own functions and globals bind
                              // to its own copy, never to the program's.
                              "-Wl,-Bsymbolic"};

bool ReadFile(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream buffer;
    buffer << in.rdbuf();
    text = buffer.str();
    return true;
}

bool WriteFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    return static_cast<bool>(out.flush());
}

// Two 64-bit FNV-1a sums with different starts: a 128-bit key.
struct Hash {
    std::uint64_t a = 0xcbf29ce484222325ULL, b = 0x84222325cbf29ce4ULL;
    void Add(const std::string& text) {
        for (unsigned char c : text) {
            a = (a ^ c) * 0x100000001b3ULL;
            b = (b ^ c) * 0x100000001b3ULL + 0x9e37;
        }
        // A separator, so that "ab"+"c" differs from "a"+"bc".
        a = (a ^ 0xff) * 0x100000001b3ULL;
        b = (b ^ 0xfe) * 0x100000001b3ULL;
    }
    std::string Hex() const {
        char text[40];
        std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(a),
                      static_cast<unsigned long long>(b));
        return text;
    }
};

std::vector<std::string> Words(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream in(text);
    std::string word;
    while (in >> word)
        words.push_back(word);
    return words;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty())
            text += ' ';
        text += word;
    }
    return text;
}

// Runs argv with stdin from /dev/null; output gets stdout and stderr.
// Returns the exit status, or -1 when the program could not run.
int Run(const std::vector<std::string>& argv, std::string& output) {
    output.clear();
    int pipes[2];
    if (pipe2(pipes, O_CLOEXEC) != 0) {
        output = std::string("cannot make a pipe: ") + std::strerror(errno);
        return -1;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipes[1], 1);
    posix_spawn_file_actions_adddup2(&actions, pipes[1], 2);
    std::vector<char*> args;
    for (const std::string& word : argv)
        args.push_back(const_cast<char*>(word.c_str()));
    args.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipes[1]);
    if (spawned != 0) {
        close(pipes[0]);
        output = "cannot run the C compiler \"" + argv[0] + "\": " + std::strerror(spawned);
        return -1;
    }
    char buffer[4096];
    for (;;) {
        const ssize_t got = read(pipes[0], buffer, sizeof buffer);
        if (got > 0) {
            // The compiler's messages are kept up to 1 MB.
            if (output.size() < (1u << 20))
                output.append(buffer, static_cast<std::size_t>(got));
            continue;
        }
        if (got < 0 && errno == EINTR)
            continue;
        break;
    }
    close(pipes[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    output += "\nthe C compiler ended by signal " + std::to_string(WTERMSIG(status));
    return -1;
}

struct CompilerFacts {
    bool ok = false;
    std::string version;
    std::vector<std::string> includeDirs;
};

// The compiler's version text and its include directories, asked once per
// compiler command.
const CompilerFacts& FactsOf(const std::vector<std::string>& compiler) {
    static std::mutex mutex;
    static std::map<std::string, CompilerFacts> known;
    std::lock_guard<std::mutex> lock(mutex);
    const std::string key = Joined(compiler);
    auto found = known.find(key);
    if (found != known.end())
        return found->second;
    CompilerFacts facts;
    std::vector<std::string> argv = compiler;
    argv.push_back("--version");
    facts.ok = Run(argv, facts.version) == 0;
    if (facts.ok) {
        std::string listing;
        argv = compiler;
        for (const char* word : {"-xc", "-E", "-v", "/dev/null"})
            argv.push_back(word);
        Run(argv, listing);
        std::istringstream lines(listing);
        std::string line;
        bool inList = false;
        while (std::getline(lines, line)) {
            if (line.find("search starts here") != std::string::npos) {
                inList = true;
                continue;
            }
            if (line.find("End of search list") != std::string::npos)
                break;
            if (inList && !line.empty() && line[0] == ' ') {
                std::string dir = line.substr(line.find_first_not_of(' '));
                const std::size_t note = dir.find(" (framework directory)");
                if (note != std::string::npos)
                    dir.erase(note);
                facts.includeDirs.push_back(dir);
            }
        }
    }
    return known.emplace(key, facts).first->second;
}

struct Include {
    std::string name;
    bool quoted = false;
    unsigned line = 0;
};

// The #include lines of a C text (comments are not skipped: an include in a
// comment at worst gets a stand-in nobody reads).
std::vector<Include> IncludesOf(const std::string& text) {
    std::vector<Include> includes;
    std::istringstream lines(text);
    std::string line;
    unsigned number = 0;
    while (std::getline(lines, line)) {
        ++number;
        std::size_t i = line.find_first_not_of(" \t");
        if (i == std::string::npos || line[i] != '#')
            continue;
        i = line.find_first_not_of(" \t", i + 1);
        if (i == std::string::npos || line.compare(i, 7, "include") != 0)
            continue;
        i = line.find_first_not_of(" \t", i + 7);
        if (i == std::string::npos || (line[i] != '"' && line[i] != '<'))
            continue;
        const char close = line[i] == '"' ? '"' : '>';
        const std::size_t end = line.find(close, i + 1);
        if (end == std::string::npos || end == i + 1)
            continue;
        includes.push_back({line.substr(i + 1, end - i - 1), close == '"', number});
    }
    return includes;
}

// A name a stand-in may be written under: relative, without "..".
bool SafeIncludeName(const std::string& name) {
    if (name.empty() || name[0] == '/' || name.find('\\') != std::string::npos)
        return false;
    for (const auto& part : fs::path(name))
        if (part == "..")
            return false;
    return true;
}

std::string CacheRoot(const ScriptCompileOptions& options) {
    if (!options.cacheDir.empty())
        return options.cacheDir;
    if (const char* dir = std::getenv("WEBSTEP_CACHE_DIR"); dir != nullptr && *dir != 0)
        return dir;
    if (const char* dir = std::getenv("XDG_CACHE_HOME"); dir != nullptr && *dir != 0)
        return (fs::path(dir) / "webstep").string();
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != 0)
        return (fs::path(home) / ".cache" / "webstep").string();
    return "/tmp/webstep-cache-" + std::to_string(getuid());
}

}  // namespace

const char* CScriptCompiler::RuntimeHeader() {
    return kRuntimeHeaderText;
}

std::string CScriptCompiler::CacheDir(const ScriptCompileOptions& options) {
    return CacheRoot(options);
}

bool CScriptCompiler::Compile(const CScriptFolder& folder, const ScriptCompileOptions& options,
                              ScriptCompileResult& result, FolderMessages& messages) {
    result = ScriptCompileResult();
    try {
        const fs::path dir = fs::absolute(folder.Dir());
        std::vector<std::string> compiler = Words(options.compiler);
        if (compiler.empty()) {
            const char* cc = std::getenv("CC");
            compiler = Words(cc != nullptr ? cc : "");
        }
        if (compiler.empty())
            compiler = {"cc"};
        const CompilerFacts& facts = FactsOf(compiler);
        if (!facts.ok) {
            result.compilerOutput = "cannot run the C compiler \"" + Joined(compiler) +
                                    "\" (set $CC to one): " + facts.version;
            return false;
        }

        // The sources: the action files, then the folder's headers they
        // include (followed as far as they go).
        Hash hash;
        hash.Add("webstep-script-1");
        hash.Add(facts.version);
        hash.Add(Joined(compiler));
        for (const char* flag : kFlags)
            hash.Add(flag);
        hash.Add(kRuntimeHeaderText);
        std::vector<std::pair<std::string, std::string>> files;  // relative name, path
        std::set<std::string> seen;
        for (const FolderAction& action : folder.Actions()) {
            const fs::path path = dir / action.file;
            if (!fs::is_regular_file(path)) {
                result.compilerOutput = path.string() + ": error: the action file of action \"" +
                                        action.name + "\" is missing";
                return false;
            }
            result.actions.push_back(action);
            if (seen.insert(action.file).second)
                files.emplace_back(action.file, path.string());
        }
        if (result.actions.empty()) {
            result.compilerOutput = dir.string() + ": error: the folder has no action files";
            return false;
        }
        std::map<std::string, Include> standIns;  // name, where first included
        std::map<std::string, std::string> standInFile;
        for (std::size_t i = 0; i < files.size(); ++i) {
            std::string text;
            if (!ReadFile(files[i].second, text)) {
                result.compilerOutput = files[i].second + ": error: cannot read the file";
                return false;
            }
            hash.Add(files[i].first);
            hash.Add(text);
            for (const Include& include : IncludesOf(text)) {
                const fs::path local = fs::path(files[i].second).parent_path() / include.name;
                if (include.quoted && fs::is_regular_file(local)) {
                    const std::string relative = fs::relative(local, dir).string();
                    if (seen.insert(relative).second)
                        files.emplace_back(relative, local.string());
                    continue;
                }
                if (fs::is_regular_file(dir / include.name))
                    continue;
                bool system = false;
                for (const std::string& include_dir : facts.includeDirs)
                    if (fs::is_regular_file(fs::path(include_dir) / include.name))
                        system = true;
                if (system || !SafeIncludeName(include.name))
                    continue;
                if (standIns.emplace(include.name, include).second)
                    standInFile[include.name] = files[i].first;
            }
        }
        for (const auto& [name, include] : standIns) {
            hash.Add("stand-in " + name);
            AddFolderNote(
                messages, (dir / standInFile[name]).string(), include.line,
                "\"" + name + "\" is not in the folder: webstep's runtime header stands in for it");
        }

        const fs::path entry = fs::path(CacheRoot(options)) / hash.Hex();
        const fs::path object = entry / "script.so";
        result.object = object.string();
        if (!options.force && fs::is_regular_file(object)) {
            result.cached = true;
            result.ok = true;
            return true;
        }

        std::error_code error;
        fs::create_directories(entry / "include" / "webstep", error);
        if (error) {
            result.compilerOutput = "cannot make the cache directory " + entry.string() + ": " +
                                    error.message() + " (set $WEBSTEP_CACHE_DIR to another)";
            return false;
        }
        const fs::path header = entry / "include" / "webstep" / "runtime.h";
        bool written = WriteFile(header.string(), kRuntimeHeaderText);
        for (const auto& [name, include] : standIns) {
            const fs::path standIn = entry / "include" / name;
            fs::create_directories(standIn.parent_path(), error);
            written = written &&
                      WriteFile(standIn.string(), "/* Written by webstep: \"" + name +
                                                      "\" is not in the script folder; the runtime "
                                                      "header stands in for it. */\n"
                                                      "#include <webstep/runtime.h>\n");
        }
        std::string unit =
            "/* Written by webstep: the action files of " + dir.string() + " as one unit. */\n";
        std::set<std::string> included;
        for (const FolderAction& action : result.actions) {
            if (!included.insert(action.file).second)
                continue;
            std::string path = (dir / action.file).string();
            std::string quoted;
            for (char c : path) {
                if (c == '"' || c == '\\')
                    quoted += '\\';
                quoted += c;
            }
            unit += "#include \"" + quoted + "\"\n";
        }
        const fs::path unitPath = entry / "script.c";
        written = written && WriteFile(unitPath.string(), unit);
        if (!written) {
            result.compilerOutput = "cannot write into the cache directory " + entry.string();
            return false;
        }

        const std::string temporary =
            object.string() + ".tmp" + std::to_string(getpid()) + "-" +
            std::to_string(reinterpret_cast<std::uintptr_t>(&result) & 0xffff);
        std::vector<std::string> argv = compiler;
        for (const char* flag : kFlags)
            argv.push_back(flag);
        argv.push_back("-I" + (entry / "include").string());
        argv.push_back("-I" + dir.string());
        argv.push_back("-include");
        argv.push_back(header.string());
        argv.push_back("-o");
        argv.push_back(temporary);
        argv.push_back(unitPath.string());
        result.command = Joined(argv);
        std::string output;
        const int status = Run(argv, output);
        result.compilerOutput = output;
        if (status != 0) {
            fs::remove(temporary, error);
            if (result.compilerOutput.empty())
                result.compilerOutput =
                    "the C compiler failed (status " + std::to_string(status) + ")";
            return false;
        }
        fs::rename(temporary, object, error);
        if (error) {
            result.compilerOutput = "cannot place " + object.string() + ": " + error.message();
            return false;
        }
        result.ok = true;
        return true;
    } catch (const std::exception& error) {
        result.compilerOutput = std::string("cannot compile the folder: ") + error.what();
        return false;
    }
}
