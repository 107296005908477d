#pragma once
// The HAR file of a load run (--har FILE.har): every request as an entry of
// an HTTP Archive 1.2 log, streamed to a temporary file beside the target and
// renamed onto it at the end of the run (a killed run leaves no file).
//
// What a load run knows goes in; what it does not is marked unknown as HAR
// allows: headersSize -1, timings -1 for the phases not measured, no pages
// (optional in HAR), no response content (bodies stay in the workers; the
// size is given). The HTTP version is not reported by the transport:
// "HTTP/1.1" is written. A request without an answer (status 0) is an entry
// with status 0, an empty statusText, httpVersion and headers, content size 0,
// bodySize -1 and the transport's error in "_error", as browsers write failed
// requests. Each entry also carries "_user", "_iteration", "_step" and
// "_transaction" (custom fields start with an underscore).
#include <chrono>
#include <cstdint>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/replay/ResultsWriter.h"
#include "webstep/replay/RunObserver.h"

class WEBSTEP_API CHarWriter : public CRunObserver {
public:
    /// The timings of an entry in milliseconds; -1 for a phase not measured.
    /// connect includes ssl, as HAR defines it; time is the sum of the
    /// phases that are not -1 (ssl aside).
    struct WEBSTEP_API Timings {
        double blocked = -1;
        double dns = -1;
        double connect = -1;
        double ssl = -1;
        double send = 0;
        double wait = 0;
        double receive = 0;
        double time = 0;
    };
    /// From the transport's phases (seconds, 0 when not known): dns,
    /// connect + tls, tls, and the time to the first byte as wait; the rest
    /// of total is receive (without a first-byte time, the rest is wait).
    static Timings ToHar(const HttpTimings& timings);
    /// The reason phrase of a status ("OK", "Not Found"), empty when unknown.
    static const char* StatusText(int status);

    explicit CHarWriter(std::string path, std::chrono::system_clock::time_point wallStart =
                                              std::chrono::system_clock::now());
    ~CHarWriter() override;

    /// Creates the temporary file now (see CResultsWriter::Open).
    bool Open(std::string& error);
    const std::string& TemporaryPath() const { return m_file.TemporaryPath(); }

    void OnRequest(const RequestRecord& request, const HttpResponse& response) override;
    bool OnRunEnd(double time, std::string& error) override;

private:
    /// startedDateTime as JSON text; the date and time of a whole second are
    /// made once per second (entries come in time order, roughly).
    void AppendStarted(std::string& out, double seconds);

    std::chrono::system_clock::time_point m_wallStart;
    CResultsWriter::RunFile m_file;
    bool m_firstEntry = true;
    long long m_isoSecond = -1;
    std::string m_isoPrefix;
};
