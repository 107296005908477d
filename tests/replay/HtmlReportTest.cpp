// The HTML report of a load run: one self-contained page (tables, embedded
// data, inline script and style, nothing fetched) that a headless chromium
// draws without a script error, with data points in every plot.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "webstep/replay/HtmlReport.h"

namespace fs = std::filesystem;

namespace {

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

int RunCommand(const std::string& command, std::string& output) {
    output.clear();
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr)
        return -1;
    char buffer[4096];
    std::size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, got);
    const int status = ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Chromium() {
    for (const char* path : {"/usr/bin/chromium", "/usr/bin/chromium-browser"})
        if (::access(path, X_OK) == 0)
            return path;
    return "";
}

class HtmlReportTest : public testing::Test {
protected:
    fs::path folder;
    void SetUp() override {
        folder = fs::temp_directory_path() /
                 ("webstep-report-" + std::to_string(::getpid()) + "-" +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    // The DOM after the page's scripts ran (and a screenshot when asked):
    // one chromium launch.
    std::string DumpDom(const fs::path& page, const fs::path& screenshot = {}) {
        std::string command = "timeout 120 " + Chromium() +
                              " --headless --no-sandbox --disable-gpu --hide-scrollbars"
                              " --user-data-dir='" +
                              (folder / "profile").string() +
                              "' --window-size=1280,2200 --virtual-time-budget=5000";
        if (!screenshot.empty())
            command += " --screenshot='" + screenshot.string() + "'";
        command += " --dump-dom 'file://" + page.string() + "' 2>'" +
                   (folder / "chromium.log").string() + "'";
        std::string dom;
        const int status = RunCommand(command, dom);
        EXPECT_EQ(status, 0) << "chromium failed:\n" << ReadFile(folder / "chromium.log");
        return dom;
    }
};

TransactionRecord Transaction(const std::string& name, double start, double duration,
                              TransactionRecord::Status status = TransactionRecord::Status::Pass) {
    TransactionRecord record;
    record.name = name;
    record.start = start;
    record.duration = duration;
    record.status = status;
    return record;
}

// A minute of a small run: users ramping up, three transactions, a burst of
// errors in the middle.
void FeedRun(CRunStatistics& stats) {
    for (unsigned u = 1; u <= 10; ++u)
        stats.OnUserStart(u, (u - 1) * 3.0);
    for (int i = 0; i < 600; ++i) {
        const double t = i * 0.1;
        RequestRecord request;
        request.start = t;
        request.timings.total = 0.05 + 0.02 * (i % 7);
        request.status = (i > 250 && i < 300 && i % 3 == 0) ? 503 : 200;
        request.step = i % 2 ? "home" : "search";
        request.transaction = i % 2 ? "01 home" : "02 search <&>";
        if (request.status == 503)
            request.error = "HTTP 503 Service Unavailable";
        stats.OnRequest(request, HttpResponse());
        if (i % 5 == 0) {
            stats.OnTransaction(Transaction("01 home", t, 0.2 + 0.1 * std::sin(t / 5)));
            stats.OnTransaction(Transaction("02 search <&>", t, 0.8 + 0.4 * std::cos(t / 7)));
        }
        if (i % 20 == 0)
            stats.OnTransaction(Transaction("03 logout", t, 0.1, TransactionRecord::Status::Pass));
    }
    UserEndRecord end;
    end.user = 10;
    end.failed = true;
    end.message = "user 10: SIGSEGV in action";
    end.time = 50;
    stats.OnUserEnd(end);
    std::string error;
    stats.OnRunEnd(60, error);
}

// The text of the element with that id, up to the end of its box.
std::string Section(const std::string& dom, const std::string& id) {
    const std::size_t start = dom.find("id=\"" + id + "\"");
    if (start == std::string::npos)
        return "";
    const std::size_t end = dom.find("class=\"plot-box\"", start + 1);
    return dom.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

std::size_t Count(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

TEST_F(HtmlReportTest, PageIsSelfContainedWithTablesAndData) {
    CRunStatistics stats;
    FeedRun(stats);
    CHtmlReport report(stats);
    report.SetTitle("library-loans </script> & co");
    report.SetStartTime(std::chrono::system_clock::time_point(std::chrono::seconds(1714557600)));
    const std::string page = report.Render();

    EXPECT_EQ(page.rfind("<!DOCTYPE html>", 0), 0u);
    EXPECT_NE(page.find("<title>library-loans &lt;/script&gt; &amp; co - webstep report</title>"),
              std::string::npos);
    EXPECT_NE(page.find("started 2024-05-01T10:00:00.000Z"), std::string::npos);
    EXPECT_NE(page.find("FAILED"), std::string::npos);
    // Nothing from the network: no external scripts, styles, images or fonts.
    EXPECT_EQ(page.find(" src="), std::string::npos);
    EXPECT_EQ(page.find("<link"), std::string::npos);
    EXPECT_EQ(page.find("@import"), std::string::npos);
    EXPECT_EQ(page.find("url("), std::string::npos);
    // The tables, names escaped.
    EXPECT_NE(page.find("<td>02 search &lt;&amp;&gt;</td>"), std::string::npos);
    EXPECT_NE(page.find("<td>03 logout</td><td>30</td><td>30</td><td>0</td><td>0</td>"
                        "<td>0.100</td>"),
              std::string::npos);
    EXPECT_NE(page.find("HTTP 503 Service Unavailable"), std::string::npos);
    EXPECT_NE(page.find("user 10: SIGSEGV in action"), std::string::npos);
    // The embedded data cannot end its script element early.
    const std::size_t data = page.find("id=\"run-data\">");
    ASSERT_NE(data, std::string::npos);
    const std::size_t dataEnd = page.find("</script>", data);
    EXPECT_NE(page.substr(data, dataEnd - data).find("\"02 search <&>\""), std::string::npos);
}

TEST_F(HtmlReportTest, WriteGivesTheWholePageOrAReason) {
    CRunStatistics stats;
    FeedRun(stats);
    CHtmlReport report(stats);
    const fs::path target = folder / "report.html";
    std::string error;
    ASSERT_TRUE(report.Write(target.string(), error)) << error;
    EXPECT_EQ(ReadFile(target), report.Render());
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
    EXPECT_FALSE(report.Write((folder / "missing" / "report.html").string(), error));
    EXPECT_NE(error.find("missing"), std::string::npos) << error;
}

TEST_F(HtmlReportTest, ChromiumDrawsEveryPlotWithoutScriptErrors) {
    if (Chromium().empty())
        GTEST_SKIP() << "chromium is not installed (/usr/bin/chromium): the browser check of "
                        "the report was skipped";
    CRunStatistics stats;
    FeedRun(stats);
    CHtmlReport report(stats);
    report.SetTitle("library-loans, 10 users");
    const fs::path page = folder / "report.html";
    std::string error;
    ASSERT_TRUE(report.Write(page.string(), error)) << error;
    const fs::path screenshot = folder / "report.png";
    const std::string dom = DumpDom(page, screenshot);

    EXPECT_EQ(dom.find("data-script-error=\""), std::string::npos)
        << dom.substr(0, dom.find("<body"));
    EXPECT_NE(dom.find("data-plots-drawn=\"4\""), std::string::npos)
        << dom.substr(0, dom.find("<body"));

    EXPECT_EQ(dom.find("NaN"), std::string::npos);
    // Response times: a marker per bucket per transaction (60 one-second
    // buckets, three transactions; the last second only has what ended in it).
    const std::string rt = Section(dom, "plot-rt");
    EXPECT_GE(Count(rt, "<circle"), 150u) << rt.substr(0, 2000);
    EXPECT_EQ(Count(rt, "<polyline"), 3u);
    EXPECT_NE(rt.find("03 logout"), std::string::npos);  // the legend
    EXPECT_NE(rt.find("response time (s)"), std::string::npos);
    const std::string rps = Section(dom, "plot-rps");
    EXPECT_GE(Count(rps, "<circle"), 60u);
    EXPECT_NE(rps.find("requests per second"), std::string::npos);
    const std::string users = Section(dom, "plot-users");
    EXPECT_GE(Count(users, "<circle"), 60u);
    const std::string errors = Section(dom, "plot-errors");
    // Errors in seconds 25 to 29 (the 503s) and 50 (the failed user).
    EXPECT_EQ(Count(errors, "class=\"bar\""), 6u);
    EXPECT_NE(errors.find("elapsed time (s)"), std::string::npos);
    // Each plot says how many points it shows.
    int plots = 0;
    const std::string attribute = "data-points=\"";
    for (std::size_t at = dom.find(attribute); at != std::string::npos;
         at = dom.find(attribute, at + 1)) {
        EXPECT_GT(std::atoi(dom.c_str() + at + attribute.size()), 0);
        ++plots;
    }
    EXPECT_EQ(plots, 4);

    ASSERT_TRUE(fs::exists(screenshot));
    const std::string png = ReadFile(screenshot);
    EXPECT_EQ(png.substr(1, 3), "PNG");
    EXPECT_GT(png.size(), 20000u);  // a drawn page, not a blank one
    // Kept for a look when asked: WEBSTEP_KEEP_REPORT=DIR.
    if (const char* keep = std::getenv("WEBSTEP_KEEP_REPORT"); keep && *keep) {
        fs::copy_file(page, fs::path(keep) / "report.html", fs::copy_options::overwrite_existing);
        fs::copy_file(screenshot, fs::path(keep) / "report.png",
                      fs::copy_options::overwrite_existing);
    }
}

TEST_F(HtmlReportTest, ChromiumDrawsAnEmptyRunAsNoData) {
    if (Chromium().empty())
        GTEST_SKIP() << "chromium is not installed (/usr/bin/chromium): the browser check of "
                        "the report was skipped";
    CRunStatistics stats;
    std::string error;
    stats.OnRunEnd(0, error);
    CHtmlReport report(stats);
    const fs::path page = folder / "empty.html";
    ASSERT_TRUE(report.Write(page.string(), error)) << error;
    const std::string dom = DumpDom(page);
    EXPECT_EQ(dom.find("data-script-error=\""), std::string::npos)
        << dom.substr(0, dom.find("<body"));
    EXPECT_NE(dom.find("data-plots-drawn=\"4\""), std::string::npos);
    EXPECT_EQ(Count(dom, ">no data</text>"), 4u);
    EXPECT_EQ(dom.find("NaN"), std::string::npos);
    EXPECT_NE(dom.find("No transactions."), std::string::npos);
}

}  // namespace
