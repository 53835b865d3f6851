#include "web/WebServer.h"

#include <dirent.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include "control/control.h"
#include "web/EventHub.h"
#include "web/WebAccess.h"

extern const unsigned char kWebPage[];
extern const size_t kWebPageSize;

namespace possim {
namespace web {

namespace {

using json = nlohmann::json;

// Each page holds one stream open; more than a few are refused so that commands and files
// always find a free worker.
const int kMaxStreams = 8;
const int kWorkers = 24;
const int kKeepAliveMs = 15000;
const uint64_t kMaxFileSize = 64ull << 20;

std::string jsonText(const json &value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

const char *contentType(const std::string &path) {
    static const std::pair<const char *, const char *> kTypes[] = {
        {".png", "image/png"},  {".wav", "audio/wav"},  {".json", "application/json"},
        {".log", "text/plain"}, {".txt", "text/plain"}, {".pcm", "application/octet-stream"},
    };
    for (const auto &type : kTypes) {
        size_t n = strlen(type.first);
        if (path.size() >= n && path.compare(path.size() - n, n, type.first) == 0) {
            return type.second;
        }
    }
    return "application/octet-stream";
}

// The card files shipped beside pos-sim (build tree) or under share/ (installed).
std::vector<std::string> shippedCardNames() {
    char self[4096];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return {};
    std::string dir(self, static_cast<size_t>(n));
    dir = dir.substr(0, dir.rfind('/') + 1);
    std::set<std::string> names;
    for (const std::string &cards : {dir + "cards", dir + "../share/pos-sim/cards"}) {
        DIR *d = opendir(cards.c_str());
        if (d == nullptr) continue;
        while (dirent *e = readdir(d)) {
            std::string name = e->d_name;
            if (name.size() > 5 && name.compare(name.size() - 5, 5, ".json") == 0) {
                names.insert(name.substr(0, name.size() - 5));
            }
        }
        closedir(d);
    }
    return {names.begin(), names.end()};
}

std::string eventText(const Event &event) {
    return "event: " + event.name + "\ndata: " + event.data + "\n\n";
}

class Routes {
  public:
    Routes(const WebOptions &options, std::string token, EventHub &hub)
        : mOptions(options), mToken(std::move(token)), mHub(hub) {}

    void install(httplib::Server &server) {
        server.set_pre_routing_handler([this](const httplib::Request &req, httplib::Response &res) {
            return authorised(req) ? httplib::Server::HandlerResponse::Unhandled
                                   : refuse(res, 403, "this page needs the token pos-sim printed");
        });
        server.Get("/", [](const httplib::Request &, httplib::Response &res) {
            res.set_header("Cache-Control", "no-store");
            res.set_content(reinterpret_cast<const char *>(kWebPage), kWebPageSize,
                            "text/html; charset=utf-8");
        });
        server.Post("/api/ctl", [this](const httplib::Request &req, httplib::Response &res) {
            command(req, res);
        });
        server.Get("/api/events",
                   [this](const httplib::Request &, httplib::Response &res) { events(res); });
        server.Get("/api/cards", [](const httplib::Request &, httplib::Response &res) {
            res.set_content(jsonText(shippedCardNames()), "application/json");
        });
        server.Get(R"(/files/(.+))", [this](const httplib::Request &req, httplib::Response &res) {
            file(req.matches[1], res);
        });
        // Errors the library finds itself (a body over the limit: 413) get a reason too.
        server.set_error_handler([](const httplib::Request &, httplib::Response &res) {
            if (!res.body.empty()) return;
            std::string reason = res.status == 413 ? "the request is larger than " +
                                                         std::to_string(kMaxBody / 1024) + " KiB"
                                                   : "HTTP status " + std::to_string(res.status);
            res.set_content(jsonText({{"ok", false}, {"text", reason}}), "application/json");
        });
    }

  private:
    bool authorised(const httplib::Request &req) const {
        std::string given = req.has_param("token") ? req.get_param_value("token")
                                                   : req.get_header_value("X-Pos-Token");
        return tokenMatches(given, mToken);
    }

    static httplib::Server::HandlerResponse refuse(httplib::Response &res, int status,
                                                   const std::string &reason) {
        res.status = status;
        res.set_content(jsonText({{"ok", false}, {"text", reason}}), "application/json");
        return httplib::Server::HandlerResponse::Handled;
    }

    // The same console `pos-sim ctl` talks to, with the same words.
    void command(const httplib::Request &req, httplib::Response &res) {
        std::vector<std::string> words;
        std::string error;
        json list = json::parse(req.body, nullptr, false);
        if (list.is_array()) {
            for (const json &word : list) {
                if (!word.is_string()) {
                    refuse(res, 400, "a command is a list of words (strings)");
                    return;
                }
                words.push_back(word.get<std::string>());
            }
        } else if (!splitWords(req.body, words, error)) {
            refuse(res, 400, error);
            return;
        }
        if (words.empty()) {
            refuse(res, 400,
                   "no command: SERVICE state | set KEY=VALUE... | event NAME ... | list");
            return;
        }
        ctl::Answer answer = ctl::request(mOptions.console, words);
        mHub.pollSoon();
        res.status = answer.ok ? 200 : 400;
        res.set_content(jsonText({{"ok", answer.ok}, {"text", answer.text}}), "application/json");
    }

    void events(httplib::Response &res) {
        if (++mStreams > kMaxStreams) {
            --mStreams;
            refuse(res, 503, "too many pages are following this terminal");
            return;
        }
        res.set_header("Cache-Control", "no-store");
        auto next = std::make_shared<uint64_t>(0);
        auto started = std::make_shared<bool>(false);
        res.set_chunked_content_provider(
            "text/event-stream",
            [this, next, started](size_t, httplib::DataSink &sink) {
                std::string text;
                if (!*started) {
                    *started = true;
                    text = "retry: 1000\n\n";
                    for (const Event &event : mHub.snapshot(*next)) text += eventText(event);
                } else {
                    for (const Event &event : mHub.waitFrom(*next, kKeepAliveMs)) {
                        text += eventText(event);
                    }
                    if (text.empty()) text = ": still here\n\n";  // finds a page that left
                }
                if (mHub.stopping()) return false;
                // A page that went away ends its stream here and nowhere else.
                return sink.write(text.data(), text.size());
            },
            [this](bool) { --mStreams; });
    }

    void file(const std::string &relative, httplib::Response &res) {
        std::string path = mOptions.outDir.empty() ? "" : confinedFile(mOptions.outDir, relative);
        std::ifstream in(path, std::ios::binary);
        if (path.empty() || !in) {
            refuse(res, 404, "no output file " + relative);
            return;
        }
        in.seekg(0, std::ios::end);
        auto size = static_cast<uint64_t>(in.tellg());
        if (size > kMaxFileSize) {
            refuse(res, 413, "the file is larger than 64 MiB");
            return;
        }
        std::string body(size, '\0');
        in.seekg(0);
        in.read(&body[0], static_cast<std::streamsize>(size));
        res.set_header("Cache-Control", "no-store");
        res.set_content(body, contentType(path));
    }

    const WebOptions &mOptions;
    std::string mToken;
    EventHub &mHub;
    std::atomic<int> mStreams{0};
};

// Only what the server needs stays open in its process: the sandbox's channel and the other
// processes' pipes must close when their owners close them.
void closeOtherDescriptors(int keep) {
    std::vector<int> fds;
    if (DIR *d = opendir("/proc/self/fd")) {
        while (dirent *e = readdir(d)) {
            int fd = atoi(e->d_name);
            if (fd > 2 && fd != keep && fd != dirfd(d)) fds.push_back(fd);
        }
        closedir(d);
    }
    for (int fd : fds) close(fd);
}

// The server's process: reports the bound port (or why not) on REPORT, then serves.
[[noreturn]] void serverProcess(const WebOptions &options, const std::string &token, int report) {
    signal(SIGPIPE, SIG_IGN);  // a page closing its connection is an error to write, no more
    httplib::Server server;
    server.new_task_queue = [] { return new httplib::ThreadPool(kWorkers); };
    server.set_payload_max_length(kMaxBody);
    server.set_read_timeout(10, 0);
    server.set_keep_alive_timeout(5);
    int port = options.port == 0
                   ? server.bind_to_any_port(options.address)
                   : (server.bind_to_port(options.address, options.port) ? options.port : -1);
    std::string line = port > 0 ? std::to_string(port) + "\n"
                                : "-1 cannot listen on " + options.address + ":" +
                                      std::to_string(options.port) + ": " + strerror(errno) + "\n";
    (void)!write(report, line.data(), line.size());
    close(report);
    if (port <= 0) _exit(1);
    EventHub hub(options.outDir, options.console, options.pollMs);
    std::string error;
    if (!hub.start(error)) {
        fprintf(stderr, "pos-sim: the page: %s\n", error.c_str());
        _exit(1);
    }
    Routes routes(options, token, hub);
    routes.install(server);
    server.listen_after_bind();
    _exit(0);
}

}  // namespace

WebServer::~WebServer() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
}

bool WebServer::start(const WebOptions &options, std::string &error) {
    std::string token = randomToken();
    if (token.empty()) {
        error = std::string("no random token for the page: ") + strerror(errno);
        return false;
    }
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + strerror(errno);
        return false;
    }
    pid_t parent = getpid();
    mPid = fork();
    if (mPid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(0);
        closeOtherDescriptors(report[1]);
        serverProcess(options, token, report[1]);
    }
    close(report[1]);
    if (mPid < 0) {
        close(report[0]);
        error = std::string("fork: ") + strerror(errno);
        return false;
    }
    std::string line;
    if (!ctl::readLine(report[0], line, 10000)) line = "-1 the page's server did not start";
    close(report[0]);
    int port = atoi(line.c_str());
    if (port <= 0) {
        error = line.substr(line.find(' ') + 1);
        return false;
    }
    mUrl = "http://" + options.address + ":" + std::to_string(port) + "/?token=" + token;
    return true;
}

}  // namespace web
}  // namespace possim
