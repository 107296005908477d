#include <gtest/gtest.h>

#include "SnapshotTestSupport.h"
#include "webstep/recording/SnapshotInfo.h"

namespace {

using snaptest::AllMessages;
using snaptest::CountWarnings;
using snaptest::TempDir;
using Kind = SnapshotPage::Kind;
using Index = std::vector<unsigned>;

const char* const kExampleInf =
    "[t7]\r\n"
    "FileName1=t7.htm\r\n"
    "URL1=https://loans.example.org/catalogue\r\n"
    "Total=5\r\n"
    "RequestHeaderFile=t7_RequestHeader.txt\r\n"
    "RequestBodyFile=NONE\r\n"
    "ResponseHeaderFile=t7_ResponseHeader.txt\r\n"
    "ContentType=text/html\r\n"
    "SnapshotXmlFile=snapshot_7.xml\r\n"
    "FileName2=t7f0.htm\r\n"
    "URL2=https://loans.example.org/catalogue/menu\r\n"
    "FrameIndex2=0.0\r\n"
    "UseFrameIndex=1\r\n"
    "FileName3=t7f1.htm\r\n"
    "URL3=https://loans.example.org/catalogue/search\r\n"
    "FrameIndex3=0.1\r\n"
    "FileName4=t7f1f0.htm\r\n"
    "URL4=https://loans.example.org/catalogue/search/help\r\n"
    "FrameIndex4=0.1.0\r\n"
    "FileName5=t7_logo.png\r\n"
    "URL5=https://loans.example.org/static/logo.png\r\n";

void WriteExampleFiles(const TempDir& dir) {
    for (const char* name : {"t7.htm", "t7f0.htm", "t7f1.htm", "t7f1f0.htm", "t7_logo.png",
                             "t7_RequestHeader.txt", "t7_ResponseHeader.txt", "snapshot_7.xml"})
        dir.Write(name, "x");
}

TEST(SnapshotInfo, ReadsEveryKeyOfTheDescription) {
    TempDir dir;
    WriteExampleFiles(dir);
    dir.Write("t7.inf", kExampleInf);
    CSnapshotInfo info;
    FolderMessages messages;
    ASSERT_TRUE(info.ReadFile(dir.File("t7.inf"), messages));
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    EXPECT_EQ(info.Name(), "t7");
    EXPECT_TRUE(info.FromInf());
    ASSERT_EQ(info.Pages().size(), 5u);

    const SnapshotPage* document = info.Document();
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->number, 1u);
    EXPECT_EQ(document->file.name, "t7.htm");
    EXPECT_EQ(document->file.path, dir.File("t7.htm"));
    EXPECT_FALSE(document->file.missing);
    EXPECT_EQ(document->url, "https://loans.example.org/catalogue");

    const auto frames = info.Frames();
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0]->file.name, "t7f0.htm");
    EXPECT_EQ(frames[0]->frameIndex, (Index{0, 0}));
    EXPECT_EQ(frames[1]->frameIndex, (Index{0, 1}));
    EXPECT_EQ(frames[1]->url, "https://loans.example.org/catalogue/search");
    EXPECT_EQ(frames[2]->frameIndex, (Index{0, 1, 0}));
    EXPECT_EQ(frames[2]->file.path, dir.File("t7f1f0.htm"));
    EXPECT_FALSE(frames[2]->frameIndexFromName);
    EXPECT_EQ(info.FindFrame({0, 1, 0}), frames[2]);
    EXPECT_EQ(info.FindFrame({0, 2}), nullptr);

    const auto resources = info.Resources();
    ASSERT_EQ(resources.size(), 1u);
    EXPECT_EQ(resources[0]->file.name, "t7_logo.png");
    EXPECT_EQ(resources[0]->url, "https://loans.example.org/static/logo.png");

    EXPECT_TRUE(info.UseFrameIndex());
    EXPECT_EQ(info.ContentType(), "text/html");
    EXPECT_EQ(info.RequestHeaderFile().path, dir.File("t7_RequestHeader.txt"));
    EXPECT_FALSE(info.RequestBodyFile().Named()) << "NONE names no file";
    EXPECT_EQ(info.ResponseHeaderFile().name, "t7_ResponseHeader.txt");
    EXPECT_EQ(info.SnapshotXmlFile().path, dir.File("snapshot_7.xml"));
    EXPECT_FALSE(info.SnapshotXmlFile().missing);
}

TEST(SnapshotInfo, NamedRequestBodyFileIsResolved) {
    TempDir dir;
    dir.Write("t3.htm", "x");
    dir.Write("t3_RequestBody.txt", "a=1");
    dir.Write("t3.inf",
              "[t3]\nFileName1=t3.htm\nTotal=1\nRequestBodyFile=\"t3_RequestBody.txt\"\n");
    CSnapshotInfo info;
    FolderMessages messages;
    ASSERT_TRUE(info.ReadFile(dir.File("t3.inf"), messages));
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    EXPECT_TRUE(info.RequestBodyFile().Named());
    EXPECT_EQ(info.RequestBodyFile().path, dir.File("t3_RequestBody.txt"));
    EXPECT_FALSE(info.SnapshotXmlFile().Named()) << "older recordings have no XML";
    EXPECT_FALSE(info.UseFrameIndex());
}

TEST(SnapshotInfo, KeyNamesIgnoreCaseAndSectionNameIsTheSnapshotName) {
    TempDir dir;
    dir.Write("t2.htm", "x");
    dir.Write("t2f0.htm", "x");
    dir.Write("t2.inf",
              "[other]\nFileName1=nothing.htm\n[T2]\nfilename1=t2.htm\nFILENAME2=t2f0.htm\n"
              "frameindex2=0.0\ntotal=2\ncontenttype=text/html\n");
    CSnapshotInfo info;
    FolderMessages messages;
    ASSERT_TRUE(info.ReadFile(dir.File("t2.inf"), messages));
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    ASSERT_NE(info.Document(), nullptr);
    EXPECT_EQ(info.Document()->file.name, "t2.htm");
    ASSERT_EQ(info.Frames().size(), 1u);
    EXPECT_EQ(info.Frames()[0]->frameIndex, (Index{0, 0}));
    EXPECT_EQ(info.ContentType(), "text/html");
}

TEST(SnapshotInfo, SectionWithAnotherNameFallsBackToTheFirstSectionWithAWarning) {
    TempDir dir;
    dir.Write("t9.htm", "x");
    dir.Write("t9.inf", "; renamed by hand\n[t8]\nFileName1=t9.htm\nTotal=1\n[extra]\nA=1\n");
    CSnapshotInfo info;
    FolderMessages messages;
    ASSERT_TRUE(info.ReadFile(dir.File("t9.inf"), messages));
    ASSERT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
    EXPECT_EQ(messages[0].line, 2u);
    EXPECT_NE(messages[0].text.find("[t8]"), std::string::npos) << messages[0].text;
    ASSERT_NE(info.Document(), nullptr);
    EXPECT_EQ(info.Document()->file.name, "t9.htm");
}

TEST(SnapshotInfo, FileWithoutSectionsNamesNoFiles) {
    TempDir dir;
    dir.Write("t1.inf", "");
    CSnapshotInfo info;
    FolderMessages messages;
    ASSERT_TRUE(info.ReadFile(dir.File("t1.inf"), messages));
    EXPECT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
    EXPECT_TRUE(info.Pages().empty());
    EXPECT_EQ(info.Document(), nullptr);
}

TEST(SnapshotInfo, TotalLargerThanTheKeysPresentReadsTheKeysWithAWarning) {
    TempDir dir;
    for (const char* name : {"t4.htm", "t4f0.htm", "t4_a.gif"})
        dir.Write(name, "x");
    dir.Write("t4.inf",
              "[t4]\nTotal=5\nFileName1=t4.htm\nFileName2=t4f0.htm\nFileName3=t4_a.gif\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t4.inf"), messages);
    ASSERT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
    EXPECT_EQ(messages[0].line, 2u);
    EXPECT_NE(messages[0].text.find("Total=5"), std::string::npos) << messages[0].text;
    EXPECT_EQ(info.Pages().size(), 3u);
}

TEST(SnapshotInfo, TotalSmallerThanTheKeysPresentStillReadsEveryKey) {
    TempDir dir;
    for (const char* name : {"t4.htm", "t4f0.htm", "t4_a.gif"})
        dir.Write(name, "x");
    dir.Write("t4.inf",
              "[t4]\nFileName1=t4.htm\nFileName2=t4f0.htm\nFileName3=t4_a.gif\nTotal=1\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t4.inf"), messages);
    EXPECT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
    ASSERT_EQ(info.Pages().size(), 3u);
    EXPECT_EQ(info.Pages()[2].kind, Kind::Resource);
}

TEST(SnapshotInfo, GapInTheNumbersIsWarnedAndTheKeysPresentAreRead) {
    TempDir dir;
    for (const char* name : {"t4.htm", "t4f0.htm"})
        dir.Write(name, "x");
    dir.Write("t4.inf", "[t4]\nFileName1=t4.htm\nFileName3=t4f0.htm\nTotal=2\nURL7=http://x/\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t4.inf"), messages);
    // One for the gap, one for URL7 without a file.
    EXPECT_EQ(CountWarnings(messages), 2u) << AllMessages(messages);
    ASSERT_EQ(info.Pages().size(), 2u);
    EXPECT_EQ(info.Pages()[1].number, 3u);
    EXPECT_EQ(info.Pages()[1].frameIndex, (Index{0, 0}));
}

TEST(SnapshotInfo, FramePlaceComesFromTheNameWhenThereIsNoFrameIndex) {
    TempDir dir;
    for (const char* name : {"t5.htm", "t5f0.htm", "t5f1.html", "t5f1f0.htm", "t5f1f12.htm"})
        dir.Write(name, "x");
    dir.Write("t5.inf",
              "[t5]\nFileName1=t5.htm\nFileName2=t5f0.htm\nFileName3=t5f1.html\n"
              "FileName4=t5f1f0.htm\nFileName5=t5f1f12.htm\nTotal=5\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t5.inf"), messages);
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    const auto frames = info.Frames();
    ASSERT_EQ(frames.size(), 4u);
    EXPECT_EQ(frames[0]->frameIndex, (Index{0, 0}));
    EXPECT_EQ(frames[1]->frameIndex, (Index{0, 1}));
    EXPECT_EQ(frames[2]->frameIndex, (Index{0, 1, 0}));
    EXPECT_EQ(frames[3]->frameIndex, (Index{0, 1, 12}));
    for (const SnapshotPage* frame : frames)
        EXPECT_TRUE(frame->frameIndexFromName) << frame->file.name;
}

TEST(SnapshotInfo, FrameIndexKeyWinsOverTheName) {
    TempDir dir;
    for (const char* name : {"t5.htm", "t5f0.htm"})
        dir.Write(name, "x");
    dir.Write("t5.inf", "[t5]\nFileName1=t5.htm\nFileName2=t5f0.htm\nFrameIndex2=0.3\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t5.inf"), messages);
    ASSERT_EQ(info.Frames().size(), 1u);
    EXPECT_EQ(info.Frames()[0]->frameIndex, (Index{0, 3}));
    EXPECT_FALSE(info.Frames()[0]->frameIndexFromName);
}

TEST(SnapshotInfo, BrokenFrameIndexIsWarnedAndTheNameDecides) {
    TempDir dir;
    for (const char* name : {"t5.htm", "t5f1.htm", "frame.htm"})
        dir.Write(name, "x");
    dir.Write("t5.inf",
              "[t5]\nFileName1=t5.htm\nFileName2=t5f1.htm\nFrameIndex2=0..1\n"
              "FileName3=frame.htm\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t5.inf"), messages);
    ASSERT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
    EXPECT_EQ(messages[0].line, 4u);
    const auto frames = info.Frames();
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0]->frameIndex, (Index{0, 1}));
    EXPECT_TRUE(frames[0]->frameIndexFromName);
    // A page named otherwise is a frame whose place is not known.
    EXPECT_TRUE(frames[1]->frameIndex.empty());
    EXPECT_FALSE(frames[1]->frameIndexFromName);
}

TEST(SnapshotInfo, ResourcesAreUnderscoreNamesAndFilesThatAreNotPages) {
    TempDir dir;
    for (const char* name :
         {"t6.htm", "t6_search.html", "t6f2_logo.gif", "t6_style.css", "other.js", "t6f0.HTM"})
        dir.Write(name, "x");
    dir.Write(
        "t6.inf",
        "[t6]\nFileName1=t6.htm\nFileName2=t6_search.html\n"
        "FileName3=t6f2_logo.gif\nFrameIndex3=0.2\nFileName4=t6_style.css\nFileName5=other.js\n"
        "FileName6=t6f0.HTM\nTotal=6\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t6.inf"), messages);
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    const auto resources = info.Resources();
    ASSERT_EQ(resources.size(), 4u);
    EXPECT_EQ(resources[0]->file.name, "t6_search.html");
    EXPECT_EQ(resources[1]->file.name, "t6f2_logo.gif");
    // A resource keeps the frame it belongs to.
    EXPECT_EQ(resources[1]->frameIndex, (Index{0, 2}));
    EXPECT_TRUE(resources[0]->frameIndex.empty());
    EXPECT_EQ(resources[2]->file.name, "t6_style.css");
    EXPECT_EQ(resources[3]->file.name, "other.js");
    ASSERT_EQ(info.Frames().size(), 1u);
    EXPECT_EQ(info.Frames()[0]->frameIndex, (Index{0, 0}));
}

TEST(SnapshotInfo, NamedFileMissingOnDiskIsWarnedAndKeptMarkedMissing) {
    TempDir dir;
    dir.Write("t7.htm", "x");
    dir.Write("t7.inf",
              "[t7]\nFileName1=t7.htm\nFileName2=t7f0.htm\nFrameIndex2=0.0\nTotal=2\n"
              "SnapshotXmlFile=snapshot_7.xml\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t7.inf"), messages);
    ASSERT_EQ(CountWarnings(messages), 2u) << AllMessages(messages);
    EXPECT_EQ(messages[0].file, dir.File("t7.inf"));
    EXPECT_EQ(messages[0].line, 3u);
    EXPECT_NE(messages[0].text.find("t7f0.htm"), std::string::npos) << messages[0].text;
    EXPECT_EQ(messages[1].line, 6u);
    EXPECT_NE(messages[1].text.find("snapshot_7.xml"), std::string::npos) << messages[1].text;
    ASSERT_EQ(info.Frames().size(), 1u);
    EXPECT_TRUE(info.Frames()[0]->file.missing);
    EXPECT_EQ(info.Frames()[0]->file.path, dir.File("t7f0.htm"));
    EXPECT_FALSE(info.Document()->file.missing);
    EXPECT_TRUE(info.SnapshotXmlFile().Named());
    EXPECT_TRUE(info.SnapshotXmlFile().missing);
}

TEST(SnapshotInfo, FileNamesMatchTheDiskWithoutRegardToCase) {
    TempDir dir;
    dir.Write("T7.HTM", "x");
    dir.Write("t7.inf", "[t7]\nFileName1=t7.htm\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t7.inf"), messages);
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    ASSERT_NE(info.Document(), nullptr);
    EXPECT_EQ(info.Document()->file.name, "t7.htm");
    EXPECT_EQ(info.Document()->file.path, dir.File("T7.HTM"));
}

TEST(SnapshotInfo, DirectoryInFrontOfAFileNameIsDropped) {
    TempDir dir;
    dir.Write("t7.htm", "x");
    dir.Write("t7.inf", "[t7]\nFileName1=C:\\Users\\me\\script\\data\\t7.htm\n");
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadFile(dir.File("t7.inf"), messages);
    EXPECT_TRUE(messages.empty()) << AllMessages(messages);
    EXPECT_EQ(info.Document()->file.path, dir.File("t7.htm"));
}

TEST(SnapshotInfo, UnreadableFileIsAWarningAndFalse) {
    TempDir dir;
    CSnapshotInfo info;
    FolderMessages messages;
    EXPECT_FALSE(info.ReadFile(dir.File("t1.inf"), messages));
    ASSERT_EQ(CountWarnings(messages), 1u);
    EXPECT_EQ(messages[0].file, dir.File("t1.inf"));
}

TEST(SnapshotInfo, CustomFinderDecidesWhatExists) {
    CSnapshotInfo info;
    FolderMessages messages;
    info.ReadText("[t1]\nFileName1=t1.htm\nFileName2=t1f0.htm\n", "data/t1.inf", "data", messages,
                  [](std::string_view name) -> std::optional<std::string> {
                      if (name == "t1.htm")
                          return std::string("T1.htm");
                      return std::nullopt;
                  });
    EXPECT_EQ(CountWarnings(messages), 1u) << AllMessages(messages);
    EXPECT_EQ(info.Document()->file.path, "data/T1.htm");
    EXPECT_TRUE(info.Frames()[0]->file.missing);
}

TEST(SnapshotInfo, FrameIndexTextIsDotSeparatedNumbers) {
    Index index;
    EXPECT_TRUE(CSnapshotInfo::ParseFrameIndex("0.1.0", index));
    EXPECT_EQ(index, (Index{0, 1, 0}));
    EXPECT_TRUE(CSnapshotInfo::ParseFrameIndex(" 0 ", index));
    EXPECT_EQ(index, (Index{0}));
    EXPECT_TRUE(CSnapshotInfo::ParseFrameIndex("0.12", index));
    EXPECT_EQ(index, (Index{0, 12}));
    for (const char* bad : {"", ".", "0.", ".1", "0..1", "0.a", "-1", "0.1x", "1.9999999"})
        EXPECT_FALSE(CSnapshotInfo::ParseFrameIndex(bad, index)) << bad;
}

TEST(SnapshotInfo, FramePlaceFromNameFollowsTheSnapshotNaming) {
    Index index;
    EXPECT_TRUE(CSnapshotInfo::FrameIndexFromName("t7", "t7f0.htm", index));
    EXPECT_EQ(index, (Index{0, 0}));
    EXPECT_TRUE(CSnapshotInfo::FrameIndexFromName("t7", "t7f1f0.html", index));
    EXPECT_EQ(index, (Index{0, 1, 0}));
    EXPECT_TRUE(CSnapshotInfo::FrameIndexFromName("t7", "T7F2.HTM", index));
    EXPECT_EQ(index, (Index{0, 2}));
    for (const char* other :
         {"t7.htm", "t70f0.htm", "t7f.htm", "t7f0_logo.htm", "t7f0.gif", "t7f0x.htm", "t1f0.htm"})
        EXPECT_FALSE(CSnapshotInfo::FrameIndexFromName("t7", other, index)) << other;
}

TEST(SnapshotInfo, OlderLayoutIsMadeFromThePageFiles) {
    CSnapshotInfo info;
    info.FromFiles("t4", "data",
                   {"t1.html", "t4.html", "t40.html", "t4f1.html", "t4f0.html", "t4f0f0.htm",
                    "t4_logo.gif", "t4.inf.bak", "t4f0.txt"});
    EXPECT_FALSE(info.FromInf());
    ASSERT_NE(info.Document(), nullptr);
    EXPECT_EQ(info.Document()->file.path, "data/t4.html");
    const auto frames = info.Frames();
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0]->file.name, "t4f0.html");
    EXPECT_EQ(frames[1]->file.name, "t4f0f0.htm");
    EXPECT_EQ(frames[1]->frameIndex, (Index{0, 0, 0}));
    EXPECT_EQ(frames[2]->file.name, "t4f1.html");
    ASSERT_EQ(info.Resources().size(), 1u);
    EXPECT_EQ(info.Resources()[0]->file.name, "t4_logo.gif");
    EXPECT_EQ(info.Pages().size(), 5u);
    EXPECT_FALSE(info.SnapshotXmlFile().Named());
}

}  // namespace
