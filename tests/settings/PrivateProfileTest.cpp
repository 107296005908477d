#include "webstep/platform/PrivateProfile.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ScratchDir.h"
#include "webstep/platform/CodePage.h"
#include "webstep/platform/LastError.h"

namespace {

namespace wp = webstep::platform;
using webstep::test::ScratchDir;

std::string Get(const char* section, const char* key, const char* def, const std::string& path,
                unsigned size = 256) {
    std::vector<char> buffer(size + 1, '#');
    const wp::DWORD n =
        wp::GetPrivateProfileStringA(section, key, def, buffer.data(), size, path.c_str());
    return std::string(buffer.data(), n);
}

std::string Contents(const std::string& path) {
    std::string content;
    EXPECT_TRUE(ScratchDir::Read(path, content));
    return content;
}

TEST(PrivateProfile, ReadsValueOfKeyInSection) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[WEB]\r\nProxy=on\r\nPort = 8080\r\n");
    EXPECT_EQ(Get("WEB", "Proxy", "x", path), "on");
    EXPECT_EQ(Get("web", "PORT", "x", path), "8080");
    EXPECT_EQ(wp::GetPrivateProfileIntA("WEB", "Port", 1, path.c_str()), 8080u);
}

TEST(PrivateProfile, MissingFileGivesDefaultAndFileNotFound) {
    ScratchDir dir;
    wp::SetLastError(0);
    EXPECT_EQ(Get("s", "k", "fallback", dir.File("none.ini")), "fallback");
    EXPECT_EQ(wp::GetLastError(), wp::ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(wp::GetPrivateProfileIntA("s", "k", -3, dir.File("none.ini").c_str()),
              static_cast<wp::UINT>(-3));
}

TEST(PrivateProfile, NullDefaultIsEmpty) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\n");
    EXPECT_EQ(Get("s", "k", nullptr, path), "");
}

TEST(PrivateProfile, NullBufferOrZeroSizeWritesNothing) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\nk=v\n");
    EXPECT_EQ(wp::GetPrivateProfileStringA("s", "k", "", nullptr, 10, path.c_str()), 0u);
    char one = '#';
    EXPECT_EQ(wp::GetPrivateProfileStringA("s", "k", "", &one, 0, path.c_str()), 0u);
    EXPECT_EQ(one, '#');
}

TEST(PrivateProfile, ValueIsCutToSizeMinusOne) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\nk=abcdef\n");
    EXPECT_EQ(Get("s", "k", "", path, 1), "");
    EXPECT_EQ(Get("s", "k", "", path, 4), "abc");
    EXPECT_EQ(Get("s", "k", "", path, 7), "abcdef");
}

TEST(PrivateProfile, CutNeverSplitsDoubleByteCharacter) {
    wp::SetProcessCodePage(wp::CP_GBK);
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\nk=a\xD6\xD0\xCE\xC4\n");
    EXPECT_EQ(Get("s", "k", "", path, 3), "a");
    EXPECT_EQ(Get("s", "k", "", path, 4), "a\xD6\xD0");
    wp::SetProcessCodePage(0);
}

TEST(PrivateProfile, LfOnlyFilesAndMissingFinalNewlineAreRead) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[a]\nx=1\n[b]\ny=2");
    EXPECT_EQ(Get("a", "x", "", path), "1");
    EXPECT_EQ(Get("b", "y", "", path), "2");
}

TEST(PrivateProfile, ByteOrderMarkIsNotPartOfFirstSection) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "\xEF\xBB\xBF[s]\r\nk=v\r\n");
    EXPECT_EQ(Get("s", "k", "d", path), "v");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", "w", path.c_str()));
    EXPECT_EQ(Contents(path), "\xEF\xBB\xBF[s]\r\nk=w\r\n");
}

TEST(PrivateProfile, SectionListIsDoubleNulTerminated) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "top=1\n[one]\n[two]\nk=v\n");
    char buffer[32];
    std::memset(buffer, '#', sizeof buffer);
    const wp::DWORD n =
        wp::GetPrivateProfileStringA(nullptr, nullptr, "ignored", buffer, 32, path.c_str());
    EXPECT_EQ(n, 8u);
    EXPECT_EQ(std::string(buffer, 9), std::string("one\0two\0\0", 9));
}

TEST(PrivateProfile, KeyListHoldsOnlyKeysNotCommentsOrLinesWithoutEquals) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\na=1\nflag\n=v\n;note=x\n[open\nb=2\n");
    EXPECT_EQ(Get("s", nullptr, "ignored", path), std::string("a\0b\0", 4));
    // A direct lookup still finds the ";" name.
    EXPECT_EQ(Get("s", ";note", "def", path), "x");
}

TEST(PrivateProfile, FileWithCarriageReturnLineEndsIsReadAndWrittenLineByLine) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\ra=1\r[t]\rb=2\r");
    EXPECT_EQ(Get("s", "a", "def", path), "1");
    EXPECT_EQ(Get("t", "b", "def", path), "2");
    EXPECT_EQ(Get("s", "b", "def", path), "def");
    ASSERT_EQ(wp::WritePrivateProfileStringA("s", "c", "3", path.c_str()), 1);
    std::string after;
    ASSERT_TRUE(ScratchDir::Read(path, after));
    EXPECT_EQ(after, "[s]\ra=1\rc=3\r[t]\rb=2\r");
}

TEST(PrivateProfile, EmptySectionHeaderIsNotTheSectionOfTheEmptyName) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[]\nk=v\n");
    EXPECT_EQ(Get("", "k", "def", path), "def");
    // Writing to the empty name goes before the first header, and deleting
    // it leaves "[]" alone.
    ASSERT_EQ(wp::WritePrivateProfileStringA("", "k", "top", path.c_str()), 1);
    EXPECT_EQ(Get("", "k", "def", path), "top");
    ASSERT_EQ(wp::WritePrivateProfileStringA("", nullptr, nullptr, path.c_str()), 1);
    std::string after;
    ASSERT_TRUE(ScratchDir::Read(path, after));
    EXPECT_EQ(after, "[]\nk=v\n");
}

TEST(PrivateProfile, ListOfMissingSectionOrFileIsEmpty) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\na=1\n");
    char buffer[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
    EXPECT_EQ(wp::GetPrivateProfileStringA("t", nullptr, "def", buffer, 8, path.c_str()), 0u);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1], '\0');
    EXPECT_EQ(wp::GetPrivateProfileStringA(nullptr, nullptr, "def", buffer, 8,
                                           dir.File("no.ini").c_str()),
              0u);
    EXPECT_EQ(buffer[0], '\0');
}

TEST(PrivateProfile, CutListEndsWithTwoNulsAndReturnsSizeMinusTwo) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\nalpha=1\nbeta=2\n");
    char buffer[7];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(wp::GetPrivateProfileStringA("s", nullptr, "", buffer, 7, path.c_str()), 5u);
    EXPECT_EQ(std::string(buffer, 7), std::string("alpha\0\0", 7));
    char tiny[1] = {'#'};
    EXPECT_EQ(wp::GetPrivateProfileStringA("s", nullptr, "", tiny, 1, path.c_str()), 0u);
    EXPECT_EQ(tiny[0], '\0');
    // A buffer that holds the list and its final NUL exactly gets the cut
    // list; one byte more holds it whole.
    char exact[14];
    EXPECT_EQ(wp::GetPrivateProfileStringA("s", nullptr, "", exact, 12, path.c_str()), 10u);
    EXPECT_EQ(std::string(exact, 12), std::string("alpha\0beta\0\0", 12));
    EXPECT_EQ(wp::GetPrivateProfileStringA("s", nullptr, "", exact, 13, path.c_str()), 11u);
    EXPECT_EQ(std::string(exact, 12), std::string("alpha\0beta\0\0", 12));
}

TEST(PrivateProfile, IntegerPrefixesSignsAndWrapping) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path,
                      "[n]\nhex=0xfF\nupper=0XfF\noct=0o777\nbin=0b1102\nneg=-12\nbig="
                      "4294967296\nempty=\nword=yes\n"
                      "dec=010\nflag\n");
    const char* p = path.c_str();
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "hex", 5, p), 255u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "upper", 5, p), 0u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "oct", 5, p), 511u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "bin", 5, p), 6u);
    EXPECT_EQ(static_cast<int>(wp::GetPrivateProfileIntA("n", "neg", 5, p)), -12);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "big", 5, p), 0u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "empty", 5, p), 5u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "word", 5, p), 0u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "dec", 5, p), 10u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "flag", 5, p), 5u);
    EXPECT_EQ(wp::GetPrivateProfileIntA("n", "absent", 5, p), 5u);
    EXPECT_EQ(wp::GetPrivateProfileIntA(nullptr, "hex", 5, p), 5u);
}

TEST(PrivateProfile, WriteCreatesFileAndSection) {
    ScratchDir dir;
    const std::string path = dir.File("new.ini");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("WEB", "Key", "Value", path.c_str()));
    EXPECT_EQ(Contents(path), "[WEB]\r\nKey=Value\r\n");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("WEB", "Other", "2", path.c_str()));
    ASSERT_TRUE(wp::WritePrivateProfileStringA("Second", "a", "b", path.c_str()));
    EXPECT_EQ(Contents(path), "[WEB]\r\nKey=Value\r\nOther=2\r\n[Second]\r\na=b\r\n");
    EXPECT_EQ(Get("web", "other", "", path), "2");
}

TEST(PrivateProfile, WriteKeepsUntouchedLinesByteForByte) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    const std::string before = "; settings\n\n[s]\n  spaced  =  value  \nk=old\n\n[t]\nx = 1\n";
    ScratchDir::Write(path, before);
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", "new", path.c_str()));
    EXPECT_EQ(Contents(path), "; settings\n\n[s]\n  spaced  =  value  \nk=new\n\n[t]\nx = 1\n");
}

TEST(PrivateProfile, NewKeyGoesBeforeBlankLinesThatSeparateSections) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\r\na=1\r\n\r\n[t]\r\nb=2\r\n");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "new", "x", path.c_str()));
    EXPECT_EQ(Contents(path), "[s]\r\na=1\r\nnew=x\r\n\r\n[t]\r\nb=2\r\n");
}

TEST(PrivateProfile, NewLinesFollowTheFilesLineEnding) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\na=1");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "b", "2", path.c_str()));
    ASSERT_TRUE(wp::WritePrivateProfileStringA("t", "c", "3", path.c_str()));
    EXPECT_EQ(Contents(path), "[s]\na=1\nb=2\n[t]\nc=3\n");
}

TEST(PrivateProfile, NullValueDeletesFirstKeyOnly) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\r\nk=1\r\nj=0\r\nK=2\r\n");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", nullptr, path.c_str()));
    EXPECT_EQ(Contents(path), "[s]\r\nj=0\r\nK=2\r\n");
    EXPECT_EQ(Get("s", "k", "", path), "2");
}

TEST(PrivateProfile, NullKeyDeletesEverySectionOfThatName) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\r\na=1\r\n[t]\r\nb=2\r\n[S]\r\nc=3\r\n");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", nullptr, nullptr, path.c_str()));
    EXPECT_EQ(Contents(path), "[t]\r\nb=2\r\n");
}

TEST(PrivateProfile, DeletingWhatIsAbsentLeavesFileUntouched) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\n k = v \n");
    const auto before = std::filesystem::last_write_time(path);
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "other", nullptr, path.c_str()));
    ASSERT_TRUE(wp::WritePrivateProfileStringA("x", nullptr, nullptr, path.c_str()));
    EXPECT_EQ(Contents(path), "[s]\n k = v \n");
    EXPECT_EQ(std::filesystem::last_write_time(path), before);
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", nullptr, dir.File("none.ini").c_str()));
    EXPECT_FALSE(std::filesystem::exists(dir.File("none.ini")));
}

TEST(PrivateProfile, KeysBeforeFirstSectionAreSectionWithEmptyName) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "\r\n[s]\r\nk=v\r\n");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("", "top", "1", path.c_str()));
    EXPECT_EQ(Contents(path), "top=1\r\n\r\n[s]\r\nk=v\r\n");
    EXPECT_EQ(Get("", "top", "", path), "1");
    EXPECT_EQ(Get("s", "top", "none", path), "none");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("", "second", "2", path.c_str()));
    EXPECT_EQ(Contents(path), "top=1\r\nsecond=2\r\n\r\n[s]\r\nk=v\r\n");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("", nullptr, nullptr, path.c_str()));
    EXPECT_EQ(Contents(path), "\r\n[s]\r\nk=v\r\n");
}

TEST(PrivateProfile, SemicolonLinesAreKeysNotComments) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\r\n;k=x\r\n");
    EXPECT_EQ(Get("s", ";k", "def", path), "x");
    EXPECT_EQ(Get("s", "k", "def", path), "def");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", "y", path.c_str()));
    EXPECT_EQ(Contents(path), "[s]\r\n;k=x\r\nk=y\r\n");
}

TEST(PrivateProfile, WriteIntoMissingDirectoryFailsWithPathNotFound) {
    ScratchDir dir;
    const std::string path = dir.File("no/such/dir.ini");
    wp::SetLastError(0);
    EXPECT_FALSE(wp::WritePrivateProfileStringA("s", "k", "v", path.c_str()));
    EXPECT_EQ(wp::GetLastError(), 3u);
}

TEST(PrivateProfile, WriteWithoutFileNameFails) {
    wp::SetLastError(0);
    EXPECT_FALSE(wp::WritePrivateProfileStringA("s", "k", "v", nullptr));
    EXPECT_EQ(wp::GetLastError(), wp::ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(wp::WritePrivateProfileStringA("s", "k", "v", ""));
}

TEST(PrivateProfile, WriteLeavesNoTemporaryFilesAndKeepsPermissions) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\nk=1\n");
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", "2", path.c_str()));
    struct stat st {};
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        (void)entry;
        ++files;
    }
    EXPECT_EQ(files, 1);
}

TEST(PrivateProfile, FailedWriteLeavesOldFileWholeAndNoTemporaryFile) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    ScratchDir::Write(path, "[s]\nk=1\n");
    // A file-size limit makes the write of the new content fail part way,
    // for any user.
    struct sigaction ignore {};
    struct sigaction previous {};
    ignore.sa_handler = SIG_IGN;
    ASSERT_EQ(::sigaction(SIGXFSZ, &ignore, &previous), 0);
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    struct rlimit limited = saved;
    limited.rlim_cur = 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
    const std::string big(8192, 'b');
    wp::SetLastError(0);
    const wp::BOOL written = wp::WritePrivateProfileStringA("s", "k", big.c_str(), path.c_str());
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::sigaction(SIGXFSZ, &previous, nullptr);
    EXPECT_FALSE(written);
    EXPECT_NE(wp::GetLastError(), 0u);
    EXPECT_EQ(Contents(path), "[s]\nk=1\n");
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        (void)entry;
        ++files;
    }
    EXPECT_EQ(files, 1);
}

// Permissions do not bind the superuser, so as root the write is tried in a
// child process that has given up its privileges.
TEST(PrivateProfile, UnwritableDirectoryFailsWithAccessDenied) {
    ScratchDir dir;
    const std::string sub = dir.File("locked");
    std::filesystem::create_directories(sub);
    const std::string path = sub + "/a.ini";
    ScratchDir::Write(path, "[s]\nk=1\n");
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
    ASSERT_EQ(::chmod(sub.c_str(), 0555), 0);
    auto attempt = [&]() -> int {
        wp::SetLastError(0);
        if (wp::WritePrivateProfileStringA("s", "k", "2", path.c_str()))
            return 1;
        return wp::GetLastError() == 5u ? 0 : 2;
    };
    int outcome = -1;
    if (::geteuid() == 0) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const uid_t nobody = 65534;
            if (::setgid(nobody) != 0 || ::setuid(nobody) != 0)
                ::_exit(3);
            ::_exit(attempt());
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        outcome = WEXITSTATUS(status);
    } else {
        outcome = attempt();
    }
    EXPECT_EQ(outcome, 0) << "1: the write succeeded, 2: another error, 3: privileges kept";
    ::chmod(sub.c_str(), 0700);
    EXPECT_EQ(Contents(path), "[s]\nk=1\n");
}

TEST(PrivateProfile, FileWithLongNameCanBeRewritten) {
    ScratchDir dir;
    const std::string path = dir.File(std::string(240, 'n') + ".ini");
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", "1", path.c_str()));
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", "2", path.c_str()));
    EXPECT_EQ(Get("s", "k", "", path), "2");
}

TEST(PrivateProfile, WriteThroughSymbolicLinkUpdatesTarget) {
    ScratchDir dir;
    const std::string target = dir.File("real.ini");
    const std::string link = dir.File("link.ini");
    ScratchDir::Write(target, "[s]\nk=1\n");
    std::filesystem::create_symlink(target, link);
    ASSERT_TRUE(wp::WritePrivateProfileStringA("s", "k", "2", link.c_str()));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(Contents(target), "[s]\nk=2\n");
}

TEST(PrivateProfile, ReadingADirectoryGivesDefault) {
    ScratchDir dir;
    EXPECT_EQ(Get("s", "k", "d", dir.path().string()), "d");
    EXPECT_FALSE(wp::WritePrivateProfileStringA("s", "k", "v", dir.path().string().c_str()));
}

TEST(PrivateProfile, WritesFromSeveralThreadsAreAllKept) {
    ScratchDir dir;
    const std::string path = dir.File("a.ini");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &path] {
            for (int i = 0; i < 25; ++i) {
                const std::string key = "k" + std::to_string(t) + "_" + std::to_string(i);
                wp::WritePrivateProfileStringA("s", key.c_str(), std::to_string(i).c_str(),
                                               path.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 25; ++i) {
            const std::string key = "k" + std::to_string(t) + "_" + std::to_string(i);
            EXPECT_EQ(Get("s", key.c_str(), "missing", path), std::to_string(i));
        }
    }
}

TEST(PrivateProfile, LargeFileRoundTrips) {
    ScratchDir dir;
    const std::string path = dir.File("big.ini");
    std::string content = "[big]\r\n";
    for (int i = 0; i < 20000; ++i) {
        content += "key" + std::to_string(i) + "=" +
                   std::string(20, static_cast<char>('a' + i % 26)) + "\r\n";
    }
    ScratchDir::Write(path, content);
    ASSERT_TRUE(wp::WritePrivateProfileStringA("big", "key19999", "last", path.c_str()));
    EXPECT_EQ(Get("big", "key19999", "", path), "last");
    EXPECT_EQ(Get("big", "key0", "", path), std::string(20, 'a'));
    const std::string longValue(100000, 'v');
    ASSERT_TRUE(wp::WritePrivateProfileStringA("big", "long", longValue.c_str(), path.c_str()));
    EXPECT_EQ(Get("big", "long", "", path, 200000), longValue);
}

}  // namespace
