#include "webstep/platform/MessageBox.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace webstep::platform;

namespace {

struct Shown {
    void* owner;
    std::string text;
    std::string caption;
    unsigned int type;
};

// Installs a capturing sink for the scope and restores the default after.
class CapturedBoxes {
public:
    explicit CapturedBoxes(int answer = IDOK) {
        SetMessageBoxSink(
            [this, answer](void* owner, const char* text, const char* caption, unsigned int type) {
                boxes.push_back({owner, text, caption, type});
                return answer;
            });
    }
    ~CapturedBoxes() { SetMessageBoxSink(nullptr); }
    std::vector<Shown> boxes;
};

}  // namespace

TEST(MessageBox, SinkReceivesAllArguments) {
    CapturedBoxes captured;
    int owner = 0;
    EXPECT_EQ(MessageBoxA(&owner, "can not update the registry.", "Error", MB_OK | MB_ICONSTOP),
              IDOK);
    ASSERT_EQ(captured.boxes.size(), 1u);
    EXPECT_EQ(captured.boxes[0].owner, &owner);
    EXPECT_EQ(captured.boxes[0].text, "can not update the registry.");
    EXPECT_EQ(captured.boxes[0].caption, "Error");
    EXPECT_EQ(captured.boxes[0].type, 0x10u);
}

TEST(MessageBox, SinkAnswerIsReturned) {
    CapturedBoxes captured(IDNO);
    EXPECT_EQ(MessageBoxA(nullptr, "Continue?", "Question", MB_YESNO), IDNO);
}

TEST(MessageBox, NullTextAndCaptionReachSinkAsEmptyAndError) {
    CapturedBoxes captured;
    MessageBoxA(nullptr, nullptr, nullptr, MB_OK);
    ASSERT_EQ(captured.boxes.size(), 1u);
    EXPECT_EQ(captured.boxes[0].text, "");
    EXPECT_EQ(captured.boxes[0].caption, "Error");
}

TEST(MessageBox, DefaultSinkWritesCaptionAndTextToStderr) {
    SetMessageBoxSink(nullptr);
    testing::internal::CaptureStderr();
    const int answer = MessageBoxA(nullptr, "can not update the registry.", "Error", MB_ICONSTOP);
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(answer, IDOK);
    EXPECT_EQ(err, "Error: can not update the registry.\n");
}

TEST(MessageBox, GetterReturnsInstalledSinkAndDefaultAfterReset) {
    {
        CapturedBoxes captured;
        MessageBoxSink sink = GetMessageBoxSink();
        ASSERT_TRUE(sink);
        sink(nullptr, "t", "c", 0);
        EXPECT_EQ(captured.boxes.size(), 1u);
    }
    MessageBoxSink sink = GetMessageBoxSink();
    ASSERT_TRUE(sink);
    testing::internal::CaptureStderr();
    sink(nullptr, "t", "c", 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "c: t\n");
}

TEST(MessageBox, SinkMayReplaceItselfWhileShowing) {
    int calls = 0;
    SetMessageBoxSink([&calls](void*, const char*, const char*, unsigned int) {
        ++calls;
        SetMessageBoxSink([](void*, const char*, const char*, unsigned int) { return IDCANCEL; });
        return IDOK;
    });
    EXPECT_EQ(MessageBoxA(nullptr, "a", "b", MB_OK), IDOK);
    EXPECT_EQ(MessageBoxA(nullptr, "a", "b", MB_OK), IDCANCEL);
    EXPECT_EQ(calls, 1);
    SetMessageBoxSink(nullptr);
}
