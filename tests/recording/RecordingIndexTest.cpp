#include <gtest/gtest.h>

#include <filesystem>

#include "SnapshotTestSupport.h"
#include "webstep/recording/Recording.h"

#ifndef WEBSTEP_SOURCE_DIR
#error "WEBSTEP_SOURCE_DIR must name the source tree"
#endif

namespace {

using snaptest::AllMessages;
using snaptest::CountWarnings;
using snaptest::DataSet;
using snaptest::Header;
using snaptest::TempDir;
using Names = std::vector<std::string>;

std::string Task(std::string_view attributes, std::string_view inside) {
    return "<HTTPTask " + std::string(attributes) + ">" + std::string(inside) + "</HTTPTask>\n";
}

// A data/ directory with three described steps, one broken XML, and an
// older step without a description.
void WriteRecording(const TempDir& dir) {
    dir.Write("t1.inf",
              "[t1]\nFileName1=t1.htm\nURL1=https://a.example/\nTotal=1\n"
              "SnapshotXmlFile=snapshot_1.xml\nRequestBodyFile=NONE\n");
    dir.Write("t1.htm", "<html>one</html>");
    dir.Write("snapshot_1.xml",
              "<HTTPSnapshot>" +
                  Task("origin=\"Redirection\" url=\"https://a.example/old\"",
                       "<HTTPRequest method=\"GET\"/>") +
                  Task("origin=\"Primary\" url=\"https://a.example/\"",
                       "<HTTPRequest method=\"POST\"><HTTPHeaders>" +
                           Header("Content-Type", "application/x-www-form-urlencoded") +
                           "</HTTPHeaders><HTTPBody>" + DataSet({"a=1&", "b=2"}) +
                           "</HTTPBody></HTTPRequest><HTTPResponse status=\"200\"><HTTPBody>" +
                           DataSet({"<html>one</html>"}) + "</HTTPBody></HTTPResponse>") +
                  Task("origin=\"ExtraRes\" url=\"https://a.example/x.css\"",
                       "<HTTPRequest method=\"GET\"/>") +
                  "</HTTPSnapshot>");
    dir.Write("t2.inf",
              "[t2]\nFileName1=t2.htm\nFileName2=t2f0.htm\nFrameIndex2=0.0\n"
              "Total=2\nSnapshotXmlFile=snapshot_2.xml\n");
    dir.Write("t2.htm", "<frameset/>");
    dir.Write("snapshot_2.xml", "<HTTPSnapshot>" +
                                    Task("origin=\"Primary\" url=\"https://a.example/2\"",
                                         "<HTTPRequest method=\"GET\"/>") +
                                    "<HTTPTask origin=\"HTML\">\n<broken></HTTPTask>");
    dir.Write("t10.inf", "[t10]\nFileName1=T10.HTM\n");
    dir.Write("T10.HTM", "ten");
    dir.Write("t4.html", "<frameset/>");
    dir.Write("t4f0.html", "left");
    dir.Write("t4f1.html", "right");
    dir.Write("t4_logo.gif", "GIF");
    dir.Write("notes.txt", "");
    std::filesystem::create_directory(dir.File("t5.html"));
}

TEST(RecordingIndex, MissingDirectoryIsNoRecordingWithANote) {
    TempDir dir;
    CRecording recording;
    FolderMessages messages;
    EXPECT_FALSE(recording.Open(dir.File("data"), messages));
    EXPECT_FALSE(recording.IsOpen());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].kind, FolderMessage::Kind::Note);
    EXPECT_EQ(messages[0].file, dir.File("data"));
    EXPECT_TRUE(recording.SnapshotNames().empty());
    EXPECT_EQ(recording.Snapshot("t1"), nullptr);
}

TEST(RecordingIndex, ListsTheSnapshotsInTheOrderOfTheirNumbers) {
    TempDir dir;
    WriteRecording(dir);
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(dir.Path(), messages));
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    EXPECT_EQ(recording.SnapshotNames(), (Names{"t1", "t2", "t4", "t10"}));
    EXPECT_TRUE(recording.HasSnapshot("t10.inf"));
    EXPECT_TRUE(recording.HasSnapshot("T2"));
    EXPECT_FALSE(recording.HasSnapshot("t3"));
    EXPECT_FALSE(recording.HasSnapshot("t4f0"));
}

TEST(RecordingIndex, SnapshotIsFoundByNameOrFileNameAndReadOnce) {
    TempDir dir;
    WriteRecording(dir);
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(dir.Path(), messages));
    const CSnapshotInfo* byFile = recording.Snapshot("t2.inf");
    ASSERT_NE(byFile, nullptr);
    EXPECT_EQ(recording.Snapshot("t2"), byFile);
    EXPECT_EQ(byFile->Name(), "t2");
    EXPECT_EQ(recording.Snapshot("t3.inf"), nullptr);
    // t2f0.htm is named but not there: one warning, given once.
    ASSERT_EQ(CountWarnings(recording.Messages()), 1u) << AllMessages(recording.Messages());
    EXPECT_EQ(recording.Messages()[0].file, dir.File("t2.inf"));
    EXPECT_EQ(recording.Messages()[0].line, 3u);
    recording.Snapshot("t2");
    EXPECT_EQ(recording.Messages().size(), 1u);
    ASSERT_EQ(byFile->Frames().size(), 1u);
    EXPECT_TRUE(byFile->Frames()[0]->file.missing);

    // The case of a file name on disk does not matter.
    const CSnapshotInfo* ten = recording.Snapshot("t10", messages);
    ASSERT_NE(ten, nullptr);
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    EXPECT_EQ(ten->Document()->file.path, dir.File("T10.HTM"));
}

TEST(RecordingIndex, OlderStepWithoutDescriptionIsMadeOfItsPageFiles) {
    TempDir dir;
    WriteRecording(dir);
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(dir.Path(), messages));
    const CSnapshotInfo* info = recording.Snapshot("t4.inf");
    ASSERT_NE(info, nullptr);
    EXPECT_FALSE(info->FromInf());
    ASSERT_NE(info->Document(), nullptr);
    EXPECT_EQ(info->Document()->file.name, "t4.html");
    ASSERT_EQ(info->Frames().size(), 2u);
    EXPECT_EQ(info->Frames()[1]->frameIndex, (std::vector<unsigned>{0, 1}));
    EXPECT_EQ(info->Resources().size(), 1u);
    std::string bytes;
    EXPECT_TRUE(recording.ReadPage(*info->Frames()[1], bytes, messages));
    EXPECT_EQ(bytes, "right");
    EXPECT_FALSE(recording.HasExchanges("t4"));
    EXPECT_FALSE(recording.PrimaryRequest("t4", messages).has_value());
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
}

TEST(RecordingIndex, ExchangesAreStreamedFromTheSnapshotXml) {
    TempDir dir;
    WriteRecording(dir);
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(dir.Path(), messages));
    EXPECT_TRUE(recording.HasExchanges("t1"));
    std::vector<std::string> urls;
    EXPECT_TRUE(recording.ReadExchanges(
        "t1.inf", {},
        [&urls](const HttpExchange& exchange) {
            urls.push_back(exchange.url);
            return true;
        },
        messages));
    EXPECT_EQ(urls,
              (Names{"https://a.example/old", "https://a.example/", "https://a.example/x.css"}));
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
}

TEST(RecordingIndex, PrimaryRequestIsTheFirstPrimaryTaskWithoutTheResponseBody) {
    TempDir dir;
    WriteRecording(dir);
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(dir.Path(), messages));
    const std::optional<HttpExchange> primary = recording.PrimaryRequest("t1", messages);
    ASSERT_TRUE(primary.has_value()) << AllMessages(messages);
    EXPECT_EQ(primary->origin, ExchangeOrigin::Primary);
    EXPECT_EQ(primary->method, "POST");
    EXPECT_EQ(primary->url, "https://a.example/");
    EXPECT_EQ(primary->requestBody, "a=1&b=2");
    EXPECT_EQ(primary->requestHeaders.size(), 1u);
    EXPECT_EQ(primary->responseStatus, 200);
    EXPECT_TRUE(primary->responseBody.empty());
    EXPECT_TRUE(primary->responseBodyLeftOut);
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
}

TEST(RecordingIndex, BrokenSnapshotXmlCountsAsNotRecorded) {
    TempDir dir;
    WriteRecording(dir);
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(dir.Path(), messages));
    // t2f0.htm is missing: that warning comes with the description.
    const std::optional<HttpExchange> primary = recording.PrimaryRequest("t2", messages);
    EXPECT_FALSE(primary.has_value());
    ASSERT_EQ(CountWarnings(messages), 2u) << AllMessages(messages);
    EXPECT_EQ(messages[1].file, dir.File("snapshot_2.xml"));
    EXPECT_EQ(messages[1].line, 3u);
    messages.clear();
    std::size_t delivered = 0;
    EXPECT_FALSE(recording.ReadExchanges(
        "t2", {},
        [&delivered](const HttpExchange&) {
            ++delivered;
            return true;
        },
        messages));
    EXPECT_EQ(delivered, 1u);
    EXPECT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
}

TEST(RecordingIndex, UnknownSnapshotAndMissingFilesAreWarnings) {
    TempDir dir;
    WriteRecording(dir);
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(dir.Path(), messages));
    EXPECT_FALSE(recording.ReadExchanges("t99", {}, {}, messages));
    EXPECT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
    std::string bytes = "stale";
    EXPECT_FALSE(recording.ReadFileBytes("t99.htm", bytes, messages));
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(CountWarnings(messages), 2u);
    EXPECT_FALSE(recording.ReadFileBytes("../t1.htm", bytes, messages));
    EXPECT_TRUE(recording.ReadFileBytes("t10.htm", bytes, messages));
    EXPECT_EQ(bytes, "ten");
    ASSERT_TRUE(recording.FindFile("T1.HTM").has_value());
    EXPECT_EQ(*recording.FindFile("T1.HTM"), "t1.htm");
}

TEST(RecordingIndex, NameOfDropsTheExtensionAndDirectory) {
    EXPECT_EQ(CRecording::NameOf("t7.inf"), "t7");
    EXPECT_EQ(CRecording::NameOf("T7.INF"), "T7");
    EXPECT_EQ(CRecording::NameOf("t7"), "t7");
    EXPECT_EQ(CRecording::NameOf("data\\t7.inf"), "t7");
}

// The examples of the repository keep working, whichever layout they have:
// every snapshot has a document that can be read.
TEST(RecordingIndex, ExampleRecordingsOpenWithADocumentPerSnapshot) {
    const std::string data = std::string(WEBSTEP_SOURCE_DIR) + "/examples/library-loans/data";
    ASSERT_TRUE(std::filesystem::is_directory(data)) << "missing " << data;
    CRecording recording;
    FolderMessages messages;
    ASSERT_TRUE(recording.Open(data, messages));
    ASSERT_FALSE(recording.SnapshotNames().empty());
    EXPECT_TRUE(recording.HasSnapshot("t1"));
    for (const std::string& name : recording.SnapshotNames()) {
        const CSnapshotInfo* info = recording.Snapshot(name, messages);
        ASSERT_NE(info, nullptr) << name;
        ASSERT_NE(info->Document(), nullptr) << name;
        std::string bytes;
        EXPECT_TRUE(recording.ReadPage(*info->Document(), bytes, messages)) << name;
        EXPECT_FALSE(bytes.empty()) << name;
    }
    EXPECT_EQ(CountWarnings(messages), 0u) << AllMessages(messages);
}

}  // namespace
