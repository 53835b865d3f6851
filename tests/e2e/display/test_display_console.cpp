// The display driven from the control console while an application shows its views: keys,
// text and touches reach the application, screenshots are the application's frame, and bad
// console input is refused with its reason. Runs under pos-sim.
#include <gtest/gtest.h>
#include <unistd.h>

#include <panelui/panelui_host.h>

#include <future>
#include <string>
#include <vector>

#include "Console.h"
#include "PngFrame.h"
#include "pos_sdk/disp.h"

namespace {

using possim::ctl::Answer;

Answer display(std::vector<std::string> words) {
    words.insert(words.begin(), "display");
    return harness::ctl(words);
}

Answer waitFor(std::vector<std::string> conditions) {
    conditions.insert(conditions.begin(), {"display", "wait"});
    return possim::ctl::waitFor(possim::ctl::kInsideSocket, conditions);
}

void expectRefused(const Answer &answer, const std::string &reason) {
    EXPECT_FALSE(answer.ok) << answer.text;
    EXPECT_NE(answer.text.find(reason), std::string::npos) << answer.text;
}

// Before the application draws anything, nothing on the display can take input.
TEST(DisplayConsole, RefusesInputBeforeAnApplicationDraws) {
    ASSERT_TRUE(harness::underSimulator());
    nlohmann::json state = harness::state("display");
    EXPECT_EQ(state["application"], 0);
    EXPECT_EQ(state["view"], "none");
    expectRefused(display({"event", "key", "name=ENTER"}), "no application is on the display");
    expectRefused(display({"event", "screenshot"}), "no application is on the display");
    expectRefused(display({"event", "text", "value=12"}), "no application is on the display");
}

TEST(DisplayConsole, DrivesAnAmountEntryAndTakesItsScreenshot) {
    Disp_vInit();
    nlohmann::json state = harness::state("display");
    EXPECT_EQ(state["application"], getpid());
    // A frame counted by the application is one the console sees.
    int frames = state["frames"].get<int>();
    EXPECT_EQ(frames, int(PnlHostFrameCounter()));
    Disp_vLightOn();  // refreshes the screen
    Answer next = waitFor({"frames>" + std::to_string(frames), "timeout=5"});
    ASSERT_TRUE(next.ok) << next.text;

    char amount[16] = {0};
    auto entry = std::async(std::launch::async, [&] {
        return Disp_nShowAmountInputView(0, 0, 800, 400, "EUR", 1, 9, sizeof amount, amount, 20, 0);
    });
    ASSERT_TRUE(waitFor({"view=amount", "timeout=10"}).ok);
    // Typed as keys, one digit as text, then a key the amount entry takes back.
    for (const char *key : {"name=1", "name=2", "name=5", "name=9", "name=CLEAR"})
        ASSERT_TRUE(display({"event", "key", key}).ok);
    ASSERT_TRUE(display({"event", "text", "value=0"}).ok);
    // Bad input changes nothing that is queued.
    expectRefused(display({"event", "key", "name=F13"}), "unknown key \"F13\"");
    expectRefused(display({"event", "touch", "x=800", "y=10"}), "touch outside the screen");
    expectRefused(display({"event", "touch", "x=5", "y=-1"}), "touch outside the screen");
    expectRefused(display({"event", "touch", "x=5"}), "touch needs x=0-799 y=0-1279");
    expectRefused(display({"event", "tap"}), "unknown event \"tap\"");
    expectRefused(display({"event", "screenshot", "name=../x.png"}), "without '/'");
    expectRefused(waitFor({"view=msgbox", "timeout=1"}),
                  "timed out after 1 s waiting for view=msgbox (view is amount)");
    expectRefused(waitFor({"colour=red"}), "display has no colour in its state");

    // The screenshot is the application's own frame once the digits are drawn.
    ASSERT_TRUE(waitFor({"queued=0", "timeout=5"}).ok);
    usleep(200 * 1000);  // the last key's redraw
    Answer shot = display({"event", "screenshot", "name=amount.png"});
    ASSERT_TRUE(shot.ok) << shot.text;
    std::string path = nlohmann::json::parse(shot.text)["last_screenshot"];
    EXPECT_EQ(path.substr(path.size() - 11), "/amount.png");
    Frame f = readPng(path);
    ASSERT_EQ(f.width, PNL_HOST_FRAME_WIDTH);
    ASSERT_EQ(f.height, PNL_HOST_FRAME_HEIGHT);
    int differing = 0, inked = 0;
    for (int y = 0; y < f.height; y += 3) {
        for (int x = 0; x < f.width; x += 3) {
            differing += f.at(x, y) != uint32_t(PnlHostFramePixel(x, y));
            inked += f.at(x, y) == 0x000000;
        }
    }
    EXPECT_EQ(differing, 0);
    EXPECT_GT(inked, 100);  // the dialog's frame and text, not a blank screen

    ASSERT_TRUE(display({"event", "key", "name=ENTER"}).ok);
    EXPECT_EQ(entry.get(), 0);
    EXPECT_STREQ(amount, "1250");
    EXPECT_TRUE(waitFor({"view=none", "timeout=5"}).ok);
}

TEST(DisplayConsole, TouchesAndKeysReachAKeyRead) {
    Disp_vInit();
    ASSERT_TRUE(display({"event", "touch", "x=799", "y=1279"}).ok);
    int x = -1, y = -1;
    EXPECT_EQ(Disp_GetTouchPadAxis(&x, &y, 2000), 1);  // the UI library reports a touch as 1
    EXPECT_EQ(x, 799);
    EXPECT_EQ(y, 1279);
    ASSERT_TRUE(display({"event", "key", "name=MENU"}).ok);
    EXPECT_EQ(Disp_GetKey(2000), 19);
    EXPECT_EQ(Disp_GetKey(100), -1);  // nothing more typed: a time-out
}

}  // namespace
