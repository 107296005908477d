#pragma once
// The HTML report of a load run (--report FILE.html): one self-contained page
// made after the run from its statistics. It holds the summary tables
// (transactions, requests per step by status class, errors by message) and
// four plots drawn as SVG by a small inline script from the data embedded in
// the page: response-time percentiles of each transaction over time (p50,
// p90 or p95, one colour per transaction), requests per second, running
// users, and errors per interval. Nothing is fetched from the network: CSS
// and script are inline.
//
// The script marks the page when it is done: the root element gets
// data-plots-drawn="4" when every plot was drawn, and data-script-error with
// the message when a script error happened (for checks in a headless
// browser). Each plot's <svg> carries data-points, the number of data points
// it shows.
#include <chrono>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/replay/RunStatistics.h"

class WEBSTEP_API CHtmlReport {
public:
    /// The statistics are read when the page is made (Render, Write).
    explicit CHtmlReport(const CRunStatistics& statistics);

    /// What was run ("library-loans, 50 users"): the page's title.
    void SetTitle(std::string title) { m_title = std::move(title); }
    /// The wall clock at the run's time 0, shown in the heading.
    void SetStartTime(std::chrono::system_clock::time_point start) {
        m_start = start;
        m_hasStart = true;
    }

    /// The page.
    std::string Render() const;
    /// Writes the page whole (a temporary file beside the target, then a
    /// rename); false with the reason when it cannot.
    bool Write(const std::string& path, std::string& error) const;

private:
    const CRunStatistics& m_statistics;
    std::string m_title;
    std::chrono::system_clock::time_point m_start;
    bool m_hasStart = false;
};
