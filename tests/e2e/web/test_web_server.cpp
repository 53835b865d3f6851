// pos-sim's page server from the outside: what a browser without the token gets, what the
// console commands answer through it, which files it hands out, and the event stream.
#include <gtest/gtest.h>

#include <httplib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

class WebServer : public ::testing::Test {
  protected:
    void SetUp() override {
        char dir[] = "/tmp/pos-web-test.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        out = dir;
        std::string wait = "while [ ! -e " + (out / "done").string() + " ]; do sleep 0.05; done";
        simPid = fork();
        if (simPid == 0) {
            execl(POS_SIM, POS_SIM, "run", "--web", "0", "--out", out.c_str(), "--", "/bin/sh",
                  "-c", wait.c_str(), static_cast<char *>(nullptr));
            _exit(127);
        }
        ASSERT_GT(simPid, 0);
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        std::string url;
        while (url.empty()) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "no page address written";
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            std::ifstream(out / "pos-sim.web") >> url;
        }
        ASSERT_EQ(url.compare(0, 17, "http://127.0.0.1:"), 0) << url;
        port = std::stoi(url.substr(17));
        token = url.substr(url.find("token=") + 6);
        EXPECT_EQ(token.size(), 32u);
        // The terminal is up once the console answers through the page.
        while (ctl("list").status != 200) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the terminal never answered";
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    void TearDown() override {
        std::ofstream(out / "done");
        int status = -1;
        if (simPid > 0) waitpid(simPid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        fs::remove_all(out);
    }

    httplib::Client client() {
        httplib::Client c("127.0.0.1", port);
        c.set_read_timeout(20, 0);
        return c;
    }
    httplib::Headers withToken() const { return {{"X-Pos-Token", token}}; }

    struct Reply {
        int status;
        std::string body;
    };
    Reply ctl(const std::string &body) {
        auto res = client().Post("/api/ctl", withToken(), body, "text/plain");
        return res ? Reply{res->status, res->body} : Reply{-1, ""};
    }
    Reply get(const std::string &path, const httplib::Headers &headers) {
        auto res = client().Get(path.c_str(), headers);
        return res ? Reply{res->status, res->body} : Reply{-1, ""};
    }

    // Reads the event stream until DONE holds for what came so far (or 20 s pass); false if
    // it never did.
    bool follow(const std::function<bool(const std::string &)> &done) {
        std::string seen;
        bool found = false;
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        client().Get(("/api/events?token=" + token).c_str(), [&](const char *data, size_t n) {
            seen.append(data, n);
            found = done(seen);
            return !found && std::chrono::steady_clock::now() < deadline;
        });
        return found;
    }

    fs::path out;
    pid_t simPid = -1;
    int port = 0;
    std::string token;
};

TEST_F(WebServer, OnlyTheTokenOpensItAndCommandsAnswerAsTheConsoleDoes) {
    for (const char *path : {"/", "/api/cards", "/files/requests.log", "/api/events"}) {
        EXPECT_EQ(get(path, {}).status, 403) << path;
        EXPECT_EQ(get(path, {{"X-Pos-Token", std::string(32, '0')}}).status, 403) << path;
    }
    auto anonymous = client().Post("/api/ctl", "power kill", "text/plain");
    ASSERT_TRUE(anonymous);
    EXPECT_EQ(anonymous->status, 403);
    EXPECT_NE(get("/api/ctl", {}).body.find("token"), std::string::npos);

    Reply page = get("/?token=" + token, {});
    EXPECT_EQ(page.status, 200);
    EXPECT_NE(page.body.find("<html"), std::string::npos);
    EXPECT_NE(get("/api/cards", withToken()).body.find("\"emv-contact\""), std::string::npos);

    // The power service was not killed by the request without the token.
    Reply set = ctl("[\"power\", \"set\", \"battery_capacity=33\"]");
    EXPECT_EQ(set.status, 200) << set.body;
    Reply state = ctl("power state");
    EXPECT_NE(state.body.find("\\\"battery_capacity\\\": 33"), std::string::npos) << state.body;
    Reply quoted = ctl("seglcd set 'lines=[\"TOTAL\", \"12.50\"]'");
    EXPECT_EQ(quoted.status, 200) << quoted.body;
    EXPECT_NE(quoted.body.find("12.50"), std::string::npos) << quoted.body;

    Reply unknown = ctl("bogus state");
    EXPECT_EQ(unknown.status, 400);
    EXPECT_NE(unknown.body.find("no service bogus"), std::string::npos) << unknown.body;
    Reply malformed = ctl("power set battery_capacity=many");
    EXPECT_EQ(malformed.status, 400);
    EXPECT_NE(malformed.body.find("expected an integer"), std::string::npos) << malformed.body;
    EXPECT_EQ(ctl("power set 'battery_capacity=1").status, 400);
    EXPECT_EQ(ctl("[\"power\", 7]").status, 400);
    EXPECT_EQ(ctl("   ").status, 400);

    Reply big = ctl("power state " + std::string(64 * 1024, 'x'));
    EXPECT_EQ(big.status, 413);
    EXPECT_NE(big.body.find("larger than 64 KiB"), std::string::npos) << big.body;
    EXPECT_EQ(ctl("power state").status, 200);  // and the server still serves
}

TEST_F(WebServer, FilesComeOnlyFromTheOutputDirectory) {
    fs::create_directories(out / "printer");
    std::ofstream(out / "printer" / "receipt-0001.png") << "not really a png";
    fs::create_symlink("/etc/hostname", out / "outside");
    fs::create_symlink(out / "printer" / "receipt-0001.png", out / "inside");

    Reply receipt = get("/files/printer/receipt-0001.png", withToken());
    EXPECT_EQ(receipt.status, 200);
    EXPECT_EQ(receipt.body, "not really a png");
    EXPECT_EQ(get("/files/inside", withToken()).body, "not really a png");
    for (const char *escape : {"/files/outside", "/files/../../etc/hostname",
                               "/files/printer/%2e%2e/%2e%2e/etc/hostname", "/files//etc/hostname",
                               "/files/printer", "/files/missing.png"}) {
        Reply refused = get(escape, withToken());
        EXPECT_EQ(refused.status, 404) << escape;
        EXPECT_EQ(refused.body.find("localhost"), std::string::npos) << escape;
    }
}

TEST_F(WebServer, EventsFollowFilesLogsAndServicesAndAPageMayLeaveAnyTime) {
    // A page arriving late sees what is there already, of the frames only the newest.
    std::ofstream(out / "frame-000001.png") << "frame";
    std::ofstream(out / "screen.png") << "newer frame";
    // One page waits until the server has noticed both frames (it learns of files as they
    // come, so a page connecting sooner may rightly get the older one as the newest so far).
    EXPECT_TRUE(follow([](const std::string &s) {
        return s.find("\"kind\":\"frame\",\"path\":\"screen.png\"") != std::string::npos;
    }));
    std::string first;
    EXPECT_TRUE(follow([&first](const std::string &s) {
        first = s;
        return s.find("event: file") != std::string::npos &&
               s.find("\"kind\":\"frame\",\"path\":\"screen.png\"") != std::string::npos &&
               s.find("\"key\":\"power\"") != std::string::npos;
    }));
    EXPECT_EQ(first.find("frame-000001.png"), std::string::npos) << first;

    // Killing a service shows; the page keeps going and restarts it.
    ASSERT_EQ(ctl("power kill").status, 200);
    EXPECT_TRUE(follow([](const std::string &s) {
        return s.find("\"key\":\"power\",\"name\":\"KivoPowerService\",\"status\":\"killed\"") !=
               std::string::npos;
    }));
    EXPECT_EQ(ctl("power restart").status, 200);

    // What comes while a page follows: a new file in a new directory, log lines.
    std::thread writer([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        fs::create_directories(out / "tts");
        std::ofstream(out / "tts" / "speech-0001.wav") << "RIFF";
        std::ofstream(out / "app.log") << "first line\nsecond line\n";
    });
    EXPECT_TRUE(follow([](const std::string &s) {
        return s.find("\"kind\":\"audio\",\"path\":\"tts/speech-0001.wav\"") != std::string::npos &&
               s.find("\"second line\"") != std::string::npos;
    }));
    writer.join();
    EXPECT_EQ(ctl("power state").status, 200);
}

}  // namespace
