// The channel of a load run's records: every kind of frame decodes to what
// was encoded (odd bytes, empty and long texts), streams cut anywhere or
// corrupted are errors with a message, and the writer batches frames from
// many threads into few system calls.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "webstep/replay/RunChannel.h"

namespace {

const std::string kOdd = std::string("a\0b\xff\x80\n\"\\", 9);

RequestRecord OddRequest(HttpResponse& response) {
    RequestRecord record;
    record.request.method = "POST";
    record.request.url = "http://example.test/" + kOdd;
    record.request.headers = {{"X-A", kOdd}, {"", ""}, {"Cookie", std::string(70000, 'c')}};
    record.request.body = std::string(1 << 20, '\0') + kOdd;
    record.request.role = RequestRole::ExtraRes;
    record.request.frame = "1.2";
    record.request.document = "t4f1.html";
    record.request.hasWrittenForm = true;
    record.request.writtenUrl = "http://example.test/{p}";
    record.request.writtenBody = "";
    record.status = 302;
    record.error = kOdd;
    record.responseBytes = 1ull << 40;
    record.timings = {0.001, 0.002, -0.0, 1e-300, 1e300};
    record.start = 1234567.890123;
    record.step = kOdd;
    record.function = "web_submit_data";
    record.snapshot = "t12";
    record.transaction = "";
    record.user = 4000000000u;
    record.iteration = 7;
    response.status = 302;
    response.headers = {{"Location", "/x"}, {"Set-Cookie", kOdd}};
    response.body = "not sent";
    response.requestBytes = 99;
    response.responseBytes = 12345;
    response.error = "";
    response.timings = {1, 2, 3, 4, 5};
    return record;
}

StepRecord OddStep() {
    StepRecord step;
    step.function = "web_url";
    step.name = kOdd;
    step.file = "act.c";
    step.line = 0xFFFFFFFFu;
    step.snapshot = "t1";
    step.navigation = true;
    step.failed = true;
    step.message = std::string(300000, 'm');
    step.saved = {{"a", kOdd}, {"", ""}};
    step.checks = {"one", ""};
    step.warnings = {kOdd};
    step.notes = {};
    step.page = "http://example.test/";
    step.requests.resize(3);  // not sent: requests come as their own frames
    step.target.kind = "form";
    step.target.text = kOdd;
    step.target.href = "x.htm";
    step.target.document = "t4.html";
    step.target.frameId = "1.2";
    step.target.frameName = "main";
    step.target.inFrame = true;
    step.target.formIndex = -3;
    step.target.action = "/go";
    step.target.items = 4;
    step.target.fits = false;
    step.target.misfitItem = 2;
    step.target.misfitName = "n";
    step.target.misfitValue = kOdd;
    step.target.misfitReason = "no such field";
    step.pageLoaded.changes = true;
    step.pageLoaded.intoFrame = true;
    step.pageLoaded.frameId = "1";
    step.pageLoaded.frameName = "top";
    step.pageLoaded.file = "t4.html";
    step.pageLoaded.loaded = true;
    step.pageLoaded.url = "http://example.test/p";
    step.pageLoaded.title = kOdd;
    step.pageLoaded.hasTitle = true;
    step.pageLoaded.forms = 2;
    step.pageLoaded.links = 2147483647;
    step.pageLoaded.frames = {{"1", "a", "t4f1.html", true, "http://x/"}, {"", "", "", false, ""}};
    step.parameters = {{"p", kOdd}};
    step.hasShownBody = true;
    step.shownBody = kOdd;
    step.extraResources = {"http://x/a.png", ""};
    step.planned = true;
    step.parseFailed = true;
    step.errorCode = -27000;
    step.errorAttributes = {{"label", "value"}, {"", ""}};
    return step;
}

void ExpectSameTimings(const HttpTimings& a, const HttpTimings& b) {
    EXPECT_EQ(a.dns, b.dns);
    EXPECT_EQ(a.connect, b.connect);
    EXPECT_EQ(a.tls, b.tls);
    EXPECT_EQ(a.firstByte, b.firstByte);
    EXPECT_EQ(a.total, b.total);
}

// One of every kind, in order.
std::string EveryKind() {
    std::string out;
    HttpResponse response;
    CRunChannel::AppendRequest(out, OddRequest(response), response);
    CRunChannel::AppendStep(out, 3, OddStep());
    TransactionRecord transaction;
    transaction.name = kOdd;
    transaction.status = TransactionRecord::Status::Stop;
    transaction.start = 1.5;
    transaction.duration = 2.25;
    transaction.thinkTime = 0.125;
    transaction.user = 3;
    transaction.iteration = 2;
    transaction.parent = "outer";
    CRunChannel::AppendTransaction(out, transaction);
    CRunChannel::AppendMessage(out, 3, "error", kOdd);
    CRunChannel::AppendMessage(out, 0, "", "");
    CRunChannel::AppendUserStart(out, 3, 10.5);
    UserEndRecord end;
    end.user = 3;
    end.iterations = 9;
    end.failedIterations = 1;
    end.failed = true;
    end.message = kOdd;
    end.time = 20.75;
    CRunChannel::AppendUserEnd(out, end);
    CRunChannel::AppendIteration(out, 3, 9, true, 19.5);
    CRunChannel::AppendDone(out);
    return out;
}

void ExpectEveryKind(CRunChannelReader& reader) {
    RunFrame frame;
    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::Request);
    HttpResponse response;
    const RequestRecord expected = OddRequest(response);
    EXPECT_EQ(frame.request.request.method, expected.request.method);
    EXPECT_EQ(frame.request.request.url, expected.request.url);
    ASSERT_EQ(frame.request.request.headers.size(), 3u);
    EXPECT_EQ(frame.request.request.headers[0].value, kOdd);
    EXPECT_EQ(frame.request.request.headers[1].name, "");
    EXPECT_EQ(frame.request.request.headers[2].value, std::string(70000, 'c'));
    EXPECT_EQ(frame.request.request.body, expected.request.body);
    EXPECT_EQ(frame.request.request.role, RequestRole::ExtraRes);
    EXPECT_EQ(frame.request.request.frame, "1.2");
    EXPECT_EQ(frame.request.request.document, "t4f1.html");
    EXPECT_TRUE(frame.request.request.hasWrittenForm);
    EXPECT_EQ(frame.request.request.writtenUrl, expected.request.writtenUrl);
    EXPECT_EQ(frame.request.status, 302);
    EXPECT_EQ(frame.request.error, kOdd);
    EXPECT_EQ(frame.request.responseBytes, 1ull << 40);
    ExpectSameTimings(frame.request.timings, expected.timings);
    EXPECT_EQ(frame.request.start, expected.start);
    EXPECT_EQ(frame.request.step, kOdd);
    EXPECT_EQ(frame.request.function, "web_submit_data");
    EXPECT_EQ(frame.request.snapshot, "t12");
    EXPECT_EQ(frame.request.transaction, "");
    EXPECT_EQ(frame.request.user, 4000000000u);
    EXPECT_EQ(frame.request.iteration, 7u);
    EXPECT_EQ(frame.response.status, 302);
    ASSERT_EQ(frame.response.headers.size(), 2u);
    EXPECT_EQ(frame.response.headers[1].value, kOdd);
    EXPECT_TRUE(frame.response.body.empty());
    EXPECT_EQ(frame.response.requestBytes, 99u);
    EXPECT_EQ(frame.response.responseBytes, 12345u);
    ExpectSameTimings(frame.response.timings, response.timings);

    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::Step);
    const StepRecord step = OddStep();
    EXPECT_EQ(frame.user, 3u);
    EXPECT_EQ(frame.step.function, step.function);
    EXPECT_EQ(frame.step.name, kOdd);
    EXPECT_EQ(frame.step.line, 0xFFFFFFFFu);
    EXPECT_TRUE(frame.step.navigation);
    EXPECT_TRUE(frame.step.failed);
    EXPECT_EQ(frame.step.message, step.message);
    EXPECT_EQ(frame.step.saved, step.saved);
    EXPECT_EQ(frame.step.checks, step.checks);
    EXPECT_EQ(frame.step.warnings, step.warnings);
    EXPECT_TRUE(frame.step.notes.empty());
    EXPECT_EQ(frame.step.page, step.page);
    EXPECT_TRUE(frame.step.requests.empty());
    EXPECT_EQ(frame.step.target.kind, "form");
    EXPECT_EQ(frame.step.target.text, kOdd);
    EXPECT_EQ(frame.step.target.href, "x.htm");
    EXPECT_EQ(frame.step.target.document, "t4.html");
    EXPECT_EQ(frame.step.target.frameId, "1.2");
    EXPECT_EQ(frame.step.target.frameName, "main");
    EXPECT_TRUE(frame.step.target.inFrame);
    EXPECT_EQ(frame.step.target.formIndex, -3);
    EXPECT_EQ(frame.step.target.action, "/go");
    EXPECT_EQ(frame.step.target.items, 4u);
    EXPECT_FALSE(frame.step.target.fits);
    EXPECT_EQ(frame.step.target.misfitItem, 2u);
    EXPECT_EQ(frame.step.target.misfitName, "n");
    EXPECT_EQ(frame.step.target.misfitValue, kOdd);
    EXPECT_EQ(frame.step.target.misfitReason, "no such field");
    const PageRecord& page = frame.step.pageLoaded;
    EXPECT_TRUE(page.changes);
    EXPECT_TRUE(page.intoFrame);
    EXPECT_EQ(page.frameId, "1");
    EXPECT_EQ(page.frameName, "top");
    EXPECT_EQ(page.file, "t4.html");
    EXPECT_TRUE(page.loaded);
    EXPECT_EQ(page.url, "http://example.test/p");
    EXPECT_EQ(page.title, kOdd);
    EXPECT_TRUE(page.hasTitle);
    EXPECT_EQ(page.forms, 2);
    EXPECT_EQ(page.links, 2147483647);
    ASSERT_EQ(page.frames.size(), 2u);
    EXPECT_EQ(page.frames[0].id, "1");
    EXPECT_EQ(page.frames[0].name, "a");
    EXPECT_EQ(page.frames[0].file, "t4f1.html");
    EXPECT_TRUE(page.frames[0].loaded);
    EXPECT_EQ(page.frames[0].url, "http://x/");
    EXPECT_FALSE(page.frames[1].loaded);
    EXPECT_EQ(frame.step.parameters, step.parameters);
    EXPECT_TRUE(frame.step.hasShownBody);
    EXPECT_EQ(frame.step.shownBody, kOdd);
    EXPECT_EQ(frame.step.extraResources, step.extraResources);
    EXPECT_TRUE(frame.step.planned);
    EXPECT_TRUE(frame.step.parseFailed);
    EXPECT_EQ(frame.step.errorCode, -27000);
    EXPECT_EQ(frame.step.errorAttributes, step.errorAttributes);

    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::Transaction);
    EXPECT_EQ(frame.transaction.name, kOdd);
    EXPECT_EQ(frame.transaction.status, TransactionRecord::Status::Stop);
    EXPECT_EQ(frame.transaction.start, 1.5);
    EXPECT_EQ(frame.transaction.duration, 2.25);
    EXPECT_EQ(frame.transaction.thinkTime, 0.125);
    EXPECT_EQ(frame.transaction.user, 3u);
    EXPECT_EQ(frame.transaction.iteration, 2u);
    EXPECT_EQ(frame.transaction.parent, "outer");

    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::Message);
    EXPECT_EQ(frame.user, 3u);
    EXPECT_EQ(frame.level, "error");
    EXPECT_EQ(frame.text, kOdd);
    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::Message);
    EXPECT_EQ(frame.user, 0u);
    EXPECT_EQ(frame.level, "");
    EXPECT_EQ(frame.text, "");

    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::UserStart);
    EXPECT_EQ(frame.user, 3u);
    EXPECT_EQ(frame.time, 10.5);

    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::UserEnd);
    EXPECT_EQ(frame.end.user, 3u);
    EXPECT_EQ(frame.end.iterations, 9u);
    EXPECT_EQ(frame.end.failedIterations, 1u);
    EXPECT_TRUE(frame.end.failed);
    EXPECT_EQ(frame.end.message, kOdd);
    EXPECT_EQ(frame.end.time, 20.75);

    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    ASSERT_EQ(frame.kind, RunFrameKind::Iteration);
    EXPECT_EQ(frame.user, 3u);
    EXPECT_EQ(frame.iteration, 9u);
    EXPECT_TRUE(frame.failed);
    EXPECT_EQ(frame.time, 19.5);

    ASSERT_EQ(reader.Next(frame), CRunChannelReader::Result::Frame) << reader.Error();
    EXPECT_EQ(frame.kind, RunFrameKind::Done);
    EXPECT_EQ(reader.Next(frame), CRunChannelReader::Result::NeedMore);
    EXPECT_TRUE(reader.Finish());
}

TEST(RunChannelTest, EveryKindOfFrameRoundTripsWithOddBytes) {
    const std::string bytes = EveryKind();
    CRunChannelReader reader;
    reader.Feed(bytes.data(), bytes.size());
    ExpectEveryKind(reader);
    EXPECT_EQ(reader.Pending(), 0u);
}

TEST(RunChannelTest, FramesDecodeFromPiecesOfAnySize) {
    const std::string bytes = EveryKind();
    for (std::size_t piece : {std::size_t(1), std::size_t(3), std::size_t(4096)}) {
        CRunChannelReader reader;
        std::vector<RunFrame> frames;
        RunFrame frame;
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            reader.Feed(bytes.data() + at, std::min(piece, bytes.size() - at));
            CRunChannelReader::Result result;
            while ((result = reader.Next(frame)) == CRunChannelReader::Result::Frame)
                frames.push_back(frame);
            ASSERT_EQ(result, CRunChannelReader::Result::NeedMore) << reader.Error();
        }
        EXPECT_EQ(frames.size(), 9u) << piece;
        EXPECT_TRUE(reader.Finish());
        EXPECT_EQ(frames.back().kind, RunFrameKind::Done);
    }
}

TEST(RunChannelTest, AStreamCutAnywhereIsAnErrorNotACrash) {
    const std::string bytes = EveryKind();
    // Every cut inside the first frames (and some further on) ends inside a
    // frame: the frames before it decode, the rest is an error.
    std::vector<std::size_t> cuts;
    for (std::size_t cut = 1; cut < 600; ++cut)
        cuts.push_back(cut);
    for (std::size_t cut = 600; cut < bytes.size(); cut += 9973)
        cuts.push_back(cut);
    std::size_t errors = 0;
    for (std::size_t cut : cuts) {
        CRunChannelReader reader;
        reader.Feed(bytes.data(), cut);
        RunFrame frame;
        while (reader.Next(frame) == CRunChannelReader::Result::Frame) {
        }
        if (!reader.Finish()) {
            ++errors;
            EXPECT_NE(reader.Error().find("ends inside a record"), std::string::npos)
                << reader.Error();
        }
    }
    // Only cuts that fall between frames are clean, and there are few.
    EXPECT_GT(errors, cuts.size() - 10);
}

TEST(RunChannelTest, CorruptFramesAreErrorsThatNameWhatWasExpected) {
    auto decode = [](const std::string& bytes) {
        CRunChannelReader reader;
        reader.Feed(bytes.data(), bytes.size());
        RunFrame frame;
        CRunChannelReader::Result result;
        while ((result = reader.Next(frame)) == CRunChannelReader::Result::Frame) {
        }
        EXPECT_EQ(result, CRunChannelReader::Result::Error);
        // Once broken, it stays broken.
        EXPECT_EQ(reader.Next(frame), CRunChannelReader::Result::Error);
        EXPECT_FALSE(reader.Finish());
        return reader.Error();
    };
    // A length of 0 and a length beyond the limit.
    EXPECT_NE(decode(std::string(4, '\0') + "x").find("record of 1 to"), std::string::npos);
    EXPECT_NE(decode(std::string("\xff\xff\xff\x7f", 4)).find("record of 1 to"), std::string::npos);
    // An unknown kind.
    EXPECT_NE(decode(std::string("\x01\0\0\0\x63", 5)).find("record kind of 1 to 8"),
              std::string::npos);
    // A text longer than its frame.
    std::string message;
    CRunChannel::AppendMessage(message, 1, "error", "hello");
    std::string longer = message;
    longer[6] = 100;  // the level's length
    EXPECT_NE(decode(longer).find("a text of 100 bytes for the level"), std::string::npos);
    // A flag that is neither 0 nor 1.
    std::string iteration;
    CRunChannel::AppendIteration(iteration, 1, 2, false, 3.0);
    iteration[7] = 5;
    EXPECT_NE(decode(iteration).find("0 or 1 for the failed flag"), std::string::npos);
    // Bytes left over inside a frame.
    std::string start;
    CRunChannel::AppendUserStart(start, 1, 2.0);
    start[0] = static_cast<char>(start[0] + 1);
    start.push_back('z');
    EXPECT_NE(decode(start).find("to end where its length says"), std::string::npos);
    // A count of headers no frame could hold.
    std::string request;
    HttpResponse response;
    RequestRecord record;
    CRunChannel::AppendRequest(request, record, response);
    // user, iteration, 4 empty texts, start (8 bytes), method "GET", url "".
    const std::size_t headersAt = 5 + 1 + 1 + 4 + 8 + 4 + 1;
    ASSERT_EQ(request[headersAt], 0);
    request[headersAt] = 0x7f;
    EXPECT_NE(decode(request).find("count of the request headers"), std::string::npos);
    // A request role beyond the list.
    std::string role;
    CRunChannel::AppendRequest(role, record, response);
    role[headersAt + 2] = 9;
    EXPECT_NE(decode(role).find("request role"), std::string::npos);
}

TEST(RunChannelTest, TheWriterBatchesFramesFromManyThreadsIntoFewWrites) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    constexpr unsigned kThreads = 4;
    constexpr unsigned kPerThread = 5000;
    std::string received;
    std::thread reader([&] {
        char buffer[65536];
        ssize_t got;
        while ((got = read(fds[0], buffer, sizeof buffer)) > 0)
            received.append(buffer, static_cast<std::size_t>(got));
    });
    std::size_t writes = 0, sent = 0;
    {
        CRunChannelWriter writer(fds[1]);
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < kThreads; ++t) {
            threads.emplace_back([&writer, t] {
                std::string frame;
                for (unsigned i = 0; i < kPerThread; ++i) {
                    frame.clear();
                    CRunChannel::AppendIteration(frame, t + 1, i, false, i * 0.5);
                    writer.Append(frame);
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        writer.Close();
        EXPECT_TRUE(writer.Healthy());
        writes = writer.Writes();
        // Appends after Close are dropped.
        writer.Append(std::string("late"));
        sent = writer.BytesSent();
    }
    close(fds[1]);
    reader.join();
    close(fds[0]);
    EXPECT_EQ(received.size(), sent);
    CRunChannelReader decoder;
    decoder.Feed(received.data(), received.size());
    RunFrame frame;
    std::vector<unsigned> next(kThreads, 0);
    std::size_t frames = 0;
    while (decoder.Next(frame) == CRunChannelReader::Result::Frame) {
        ASSERT_EQ(frame.kind, RunFrameKind::Iteration);
        // Each thread's frames arrive whole and in its order.
        ASSERT_EQ(frame.iteration, next[frame.user - 1]++);
        ++frames;
    }
    EXPECT_TRUE(decoder.Finish()) << decoder.Error();
    EXPECT_EQ(frames, kThreads * kPerThread);
    EXPECT_LT(writes, frames / 20) << "writes " << writes;
}

TEST(RunChannelTest, AWriterWhoseReaderIsGoneDropsFramesWithoutBlocking) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    close(fds[0]);
    // The write fails with EPIPE (SIGPIPE ignored here as workers do).
    struct sigaction ignore {};
    struct sigaction previous {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &previous);
    {
        CRunChannelWriter writer(fds[1], 0.001);
        std::string frame;
        CRunChannel::AppendUserStart(frame, 1, 0);
        for (int i = 0; i < 1000 && writer.Healthy(); ++i) {
            writer.Append(frame);
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        EXPECT_FALSE(writer.Healthy());
        writer.Append(std::string(CRunChannelWriter::kBacklog * 2, 'x'));
    }
    sigaction(SIGPIPE, &previous, nullptr);
    close(fds[1]);
}

// What encoding a request costs: a typical request with a dozen headers,
// encoded and decoded, the figure printed for the record.
TEST(RunChannelTest, EncodingCostPerRequest) {
    RequestRecord record;
    record.request.url = "https://shop.example.test/catalogue/item?id=12345&colour=blue";
    for (int i = 0; i < 12; ++i)
        record.request.headers.push_back({"X-Header-" + std::to_string(i), std::string(30, 'v')});
    record.step = "item";
    record.function = "web_url";
    record.snapshot = "t5";
    record.user = 17;
    record.status = 200;
    HttpResponse response;
    response.status = 200;
    for (int i = 0; i < 10; ++i)
        response.headers.push_back({"Header-" + std::to_string(i), std::string(25, 'w')});
    constexpr int kCount = 20000;
    // As a user does: each frame into a reused buffer, then onto the batch.
    std::string out, frame1;
    out.reserve(kCount * 1100);
    const auto began = std::chrono::steady_clock::now();
    for (int i = 0; i < kCount; ++i) {
        record.iteration = static_cast<unsigned>(i);
        frame1.clear();
        CRunChannel::AppendRequest(frame1, record, response);
        out += frame1;
    }
    const auto encoded = std::chrono::steady_clock::now();
    CRunChannelReader reader;
    reader.Feed(out.data(), out.size());
    RunFrame frame;
    int decoded = 0;
    while (reader.Next(frame) == CRunChannelReader::Result::Frame) {
        ASSERT_EQ(frame.request.iteration, static_cast<unsigned>(decoded));
        ++decoded;
    }
    const auto done = std::chrono::steady_clock::now();
    EXPECT_EQ(decoded, kCount);
    const double encodeNs =
        std::chrono::duration<double, std::nano>(encoded - began).count() / kCount;
    const double decodeNs =
        std::chrono::duration<double, std::nano>(done - encoded).count() / kCount;
    std::printf("request frame: %zu bytes, encode %.0f ns, decode %.0f ns\n", out.size() / kCount,
                encodeNs, decodeNs);
    RecordProperty("bytes_per_request", static_cast<int>(out.size() / kCount));
    RecordProperty("encode_ns", static_cast<int>(encodeNs));
    RecordProperty("decode_ns", static_cast<int>(decodeNs));
}

}  // namespace
