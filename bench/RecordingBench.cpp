// Reading the recording of a script folder: a data/ directory of 500 steps
// with 50 MB of snapshot XML, made once in a temporary directory. Times the
// index, the descriptions and the primary request of every step (what
// planning with --compare needs), and the full read of every exchange; and
// the whole job as a user runs it: "webstep inspect --compare" on the folder
// (its description, action file and recording), with the tool's peak memory.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

#include "webstep/recording/Recording.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSteps = 500;
constexpr std::size_t kTargetXmlBytes = 50u * 1024 * 1024;

std::string Base64(const std::string& bytes) {
    static const char* alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) |
                           (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                           static_cast<unsigned char>(bytes[i + 2]);
        for (int shift : {18, 12, 6, 0})
            out += alphabet[(v >> shift) & 63];
    }
    if (bytes.size() - i == 1) {
        const unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        out += alphabet[(v >> 18) & 63];
        out += alphabet[(v >> 12) & 63];
        out += "==";
    } else if (bytes.size() - i == 2) {
        const unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) |
                           (static_cast<unsigned char>(bytes[i + 1]) << 8);
        out += alphabet[(v >> 18) & 63];
        out += alphabet[(v >> 12) & 63];
        out += alphabet[(v >> 6) & 63];
        out += '=';
    }
    return out;
}

std::string Data(const std::string& value) {
    return "<HTTPDataSet><HTTPData dfeDataType=\"Raw\" sectionDataType=\"1\"><ActualData>" +
           Base64(value) + "</ActualData></HTTPData></HTTPDataSet>";
}

std::string Headers(const std::vector<std::pair<std::string, std::string>>& headers) {
    std::string out = "<HTTPHeaders>";
    int index = 0;
    for (const auto& [name, value] : headers) {
        out += "<HTTPHeaderEntity name=\"" + name + "\" index=\"" + std::to_string(index++) +
               "\">" + Data(value) + "</HTTPHeaderEntity>";
    }
    return out + "</HTTPHeaders>";
}

// A page of about size bytes.
std::string Page(int step, std::size_t size) {
    std::string page = "<html><head><title>Step " + std::to_string(step) + "</title></head><body>";
    for (int row = 0; page.size() < size; ++row) {
        page += "<tr><td><a href=\"/catalogue/item?id=" + std::to_string(row) + "\">Item " +
                std::to_string(row) + "</a></td><td>in stock</td></tr>\n";
    }
    return page + "</body></html>";
}

std::string Task(int id, const std::string& origin, const std::string& url,
                 const std::string& method, const std::string& requestBody,
                 const std::string& responseBody) {
    std::string task = "<HTTPTask id=\"" + std::to_string(id) + "\" url=\"" + url +
                       "\" hostname=\"loans.example.org\" port=\"443\" origin=\"" + origin +
                       "\" frame=\"1\">\n<HTTPRequest method=\"" + method + "\">" +
                       Headers({{"Accept", "text/html,application/xhtml+xml"},
                                {"User-Agent", "Mozilla/5.0 (Windows NT 10.0)"},
                                {"Cookie", "session=4711; lang=en"}}) +
                       "<HTTPCookies/>";
    if (!requestBody.empty())
        task += "<HTTPBody>" + Data(requestBody) + "</HTTPBody>";
    task += "</HTTPRequest>\n<HTTPResponse>" +
            Headers({{"Content-Type", "text/html; charset=utf-8"}, {"Server", "bench"}}) +
            "<HTTPBody>" + Data(responseBody) + "</HTTPBody></HTTPResponse>\n</HTTPTask>\n";
    return task;
}

struct Folder {
    std::string dataDir;
    std::size_t largestPage = 0;
    std::size_t xmlBytes = 0;
    std::size_t largestXml = 0;
};

void WriteFile(const std::string& path, const std::string& bytes) {
    if (std::FILE* file = std::fopen(path.c_str(), "wb")) {
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
}

// 500 steps; most pages are small, a few are large, as in real folders.
Folder MakeFolder() {
    Folder folder;
    std::string pattern = (fs::temp_directory_path() / "webstep-recbench-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        return folder;
    folder.dataDir = pattern + "/data";
    fs::create_directories(folder.dataDir);
    const std::size_t average = kTargetXmlBytes / kSteps;
    // The script: one navigation step per snapshot, as the recording sent it.
    std::string action = "Action()\n{\n";
    for (int step = 1; step <= kSteps; ++step) {
        // Every 50th step has a page ten times the usual size; the resources
        // and headers take about 15 kB of each file, base64 a third more.
        const std::size_t usual = (average - 15000) * 3 / 4 * 50 / 59;
        const std::size_t pageSize = (step % 50 == 0 ? 10 : 1) * usual;
        const std::string url = "https://loans.example.org/catalogue/step" + std::to_string(step);
        std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<HTTPSnapshot id=\"" +
                          std::to_string(step) + "\">\n";
        const bool post = step % 3 == 0;
        xml += Task(1, "Primary", url, post ? "POST" : "GET",
                    post ? "title=garden&author=&isbn=" + std::to_string(step) : "",
                    Page(step, pageSize));
        for (int r = 0; r < 4; ++r) {
            xml += Task(2 + r, "ExtraRes",
                        "https://loans.example.org/static/r" + std::to_string(r) + ".css", "GET",
                        "", std::string(2000, static_cast<char>('a' + r)));
        }
        xml += "</HTTPSnapshot>\n";
        const std::string name = "t" + std::to_string(step);
        folder.largestPage = std::max(folder.largestPage, pageSize);
        if (post)
            action += "\tweb_submit_data(\"s" + std::to_string(step) + "\", \"Action=" + url +
                      "\", \"Method=POST\", \"Snapshot=" + name +
                      ".inf\", ITEMDATA, \"Name=title\", \"Value=garden\", ENDITEM, "
                      "\"Name=author\", \"Value=\", ENDITEM, \"Name=isbn\", \"Value=" +
                      std::to_string(step) + "\", ENDITEM, LAST);\n";
        else
            action += "\tweb_url(\"s" + std::to_string(step) + "\", \"URL=" + url +
                      "\", \"Snapshot=" + name + ".inf\", \"Mode=HTML\", LAST);\n";
        WriteFile(folder.dataDir + "/snapshot_" + std::to_string(step) + ".xml", xml);
        WriteFile(folder.dataDir + "/" + name + ".htm", Page(step, 2000));
        WriteFile(folder.dataDir + "/" + name + ".inf",
                  "[" + name + "]\r\nFileName1=" + name + ".htm\r\nURL1=" + url +
                      "\r\nTotal=1\r\nRequestBodyFile=NONE\r\nContentType=text/html\r\n"
                      "SnapshotXmlFile=snapshot_" +
                      std::to_string(step) + ".xml\r\n");
        folder.xmlBytes += xml.size();
        folder.largestXml = std::max(folder.largestXml, xml.size());
    }
    WriteFile(pattern + "/Action.c", action + "\treturn 0;\n}\n");
    WriteFile(pattern + "/bench.usr",
              "[General]\r\nDefaultCfg=default.cfg\r\n[Actions]\r\nvuser_init=vuser_init.c\r\n"
              "Action=Action.c\r\nvuser_end=vuser_end.c\r\n");
    WriteFile(pattern + "/vuser_init.c", "vuser_init()\n{\n\treturn 0;\n}\n");
    WriteFile(pattern + "/vuser_end.c", "vuser_end()\n{\n\treturn 0;\n}\n");
    WriteFile(pattern + "/default.cfg", "[WEB]\r\nHttpVer=1.1\r\n");
    return folder;
}

const Folder& TheFolder() {
    static const Folder folder = MakeFolder();
    return folder;
}

// Removes the folder when the program ends.
struct Cleanup {
    ~Cleanup() {
        const Folder& folder = TheFolder();
        std::error_code error;
        if (!folder.dataDir.empty())
            fs::remove_all(fs::path(folder.dataDir).parent_path(), error);
    }
};

std::size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Open, every description, the primary request of every step.
void ReadPrimaryRequests(benchmark::State& state, bool checkToEnd) {
    static Cleanup cleanup;
    const Folder& folder = TheFolder();
    if (folder.dataDir.empty()) {
        state.SkipWithError("cannot make the folder");
        return;
    }
    std::size_t found = 0;
    std::size_t peak = 0;
    for (auto _ : state) {
        const std::size_t base = HeapInUse();
        CRecording recording;
        FolderMessages messages;
        recording.Open(folder.dataDir, messages);
        found = 0;
        SnapshotReadOptions options;
        options.primaryOnly = true;
        options.checkToEnd = checkToEnd;
        options.keepResponseBodies = false;
        for (const std::string& name : recording.SnapshotNames()) {
            const CSnapshotInfo* info = recording.Snapshot(name, messages);
            if (!info || !info->Document())
                continue;
            recording.ReadExchanges(
                name, options,
                [&](const HttpExchange& exchange) {
                    found += exchange.origin == ExchangeOrigin::Primary;
                    peak = std::max(peak, HeapInUse() - std::min(base, HeapInUse()));
                    return true;
                },
                messages);
        }
        peak = std::max(peak, HeapInUse() - std::min(base, HeapInUse()));
        if (!messages.empty())
            state.SkipWithError(messages.front().Format().c_str());
    }
    state.counters["steps"] = static_cast<double>(found);
    state.counters["xml_MB"] = static_cast<double>(folder.xmlBytes) / 1e6;
    state.counters["peak_heap_MB"] = static_cast<double>(peak) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * folder.xmlBytes));
}

void BM_RecordingPrimaryRequestsCheckedToTheEnd(benchmark::State& state) {
    ReadPrimaryRequests(state, true);
}
BENCHMARK(BM_RecordingPrimaryRequestsCheckedToTheEnd)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_RecordingPrimaryRequestsStoppingEarly(benchmark::State& state) {
    ReadPrimaryRequests(state, false);
}
BENCHMARK(BM_RecordingPrimaryRequestsStoppingEarly)->Unit(benchmark::kMillisecond)->UseRealTime();

// Every exchange of every step, bodies kept.
void BM_RecordingFullRead(benchmark::State& state) {
    static Cleanup cleanup;
    const Folder& folder = TheFolder();
    if (folder.dataDir.empty()) {
        state.SkipWithError("cannot make the folder");
        return;
    }
    std::size_t exchanges = 0;
    std::size_t bodyBytes = 0;
    std::size_t peak = 0;
    for (auto _ : state) {
        const std::size_t base = HeapInUse();
        CRecording recording;
        FolderMessages messages;
        recording.Open(folder.dataDir, messages);
        exchanges = 0;
        bodyBytes = 0;
        for (const std::string& name : recording.SnapshotNames()) {
            recording.ReadExchanges(
                name, {},
                [&](const HttpExchange& exchange) {
                    ++exchanges;
                    bodyBytes += exchange.responseBody.size() + exchange.requestBody.size();
                    peak = std::max(peak, HeapInUse() - std::min(base, HeapInUse()));
                    return true;
                },
                messages);
        }
        if (!messages.empty())
            state.SkipWithError(messages.front().Format().c_str());
    }
    state.counters["exchanges"] = static_cast<double>(exchanges);
    state.counters["body_MB"] = static_cast<double>(bodyBytes) / 1e6;
    state.counters["largest_xml_MB"] = static_cast<double>(folder.largestXml) / 1e6;
    state.counters["peak_heap_MB"] = static_cast<double>(peak) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * folder.xmlBytes));
}
BENCHMARK(BM_RecordingFullRead)->Unit(benchmark::kMillisecond)->UseRealTime();

// Runs the tool on a folder; its peak resident memory in bytes, or 0 when it
// could not run or failed.
std::size_t RunInspect(const std::string& folder, bool& same) {
    const char* argv[] = {WEBSTEP_CLI_PATH, "inspect",      "--compare",
                          "--json",         folder.c_str(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int spawned =
        posix_spawn(&pid, argv[0], &actions, nullptr, const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return 0;
    int status = 0;
    struct rusage usage {};
    if (wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status))
        return 0;
    same = WEXITSTATUS(status) == 0;
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

// The whole job: "webstep inspect --compare" over 500 steps and 54 MB of
// snapshot XML. Peak memory is the tool's, less what it takes on an empty
// folder (the fixed base of the program and its libraries).
void BM_InspectCompareFolder(benchmark::State& state) {
    static Cleanup cleanup;
    const Folder& folder = TheFolder();
    if (folder.dataDir.empty()) {
        state.SkipWithError("cannot make the folder");
        return;
    }
    const std::string dir = fs::path(folder.dataDir).parent_path().string();
    std::string empty = (fs::temp_directory_path() / "webstep-recbench-empty-XXXXXX").string();
    if (!mkdtemp(empty.data())) {
        state.SkipWithError("cannot make an empty folder");
        return;
    }
    bool ignored = false;
    const std::size_t base = RunInspect(empty, ignored);
    fs::remove_all(empty);
    std::size_t peak = 0;
    bool same = true;
    for (auto _ : state) {
        bool exact = false;
        peak = std::max(peak, RunInspect(dir, exact));
        same = same && exact;
    }
    if (!same) {
        state.SkipWithError("inspect --compare did not plan every request as recorded");
        return;
    }
    state.counters["steps"] = kSteps;
    state.counters["xml_MB"] = static_cast<double>(folder.xmlBytes) / 1e6;
    state.counters["peak_rss_MB"] = static_cast<double>(peak) / 1e6;
    state.counters["base_rss_MB"] = static_cast<double>(base) / 1e6;
    state.counters["beyond_base_MB"] = static_cast<double>(peak - std::min(peak, base)) / 1e6;
    state.counters["largest_page_MB"] = static_cast<double>(folder.largestPage) / 1e6;
}
BENCHMARK(BM_InspectCompareFolder)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace
