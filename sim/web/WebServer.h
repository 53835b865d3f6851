// The terminal's page: `pos-sim run --web [ADDR:]PORT` serves a page that shows the running
// terminal and drives it through the control console, to a browser holding the access token.
//
//   GET  /                  the page (one file, nothing fetched from elsewhere)
//   POST /api/ctl           a console command: a JSON list of words, or one line of text
//                           split as a shell would; answered {"ok": ..., "text": ...}
//   GET  /api/events        server-sent events: file, log and state (see EventHub.h)
//   GET  /api/cards         the names of the card files shipped with pos-sim
//   GET  /files/PATH        a file of the run's output directory
//
// Every request carries the token, as "?token=" or the header "X-Pos-Token"; without it the
// answer is 403. The server runs in a process of its own, like the console's host relay, so
// that pos-sim stays one thread when it forks the sandbox.
#ifndef POS_SIM_WEB_SERVER_H
#define POS_SIM_WEB_SERVER_H

#include <sys/types.h>

#include <string>

namespace possim {
namespace web {

struct WebOptions {
    std::string address = "127.0.0.1";
    int port = 0;         // 0: the kernel chooses
    std::string console;  // the run's console socket
    std::string outDir;   // the run's output directory
    int pollMs = 1000;    // how often the services' states are read
};

// Bodies larger than this are refused (413).
constexpr size_t kMaxBody = 64 * 1024;

class WebServer {
  public:
    WebServer() = default;
    ~WebServer();
    WebServer(const WebServer &) = delete;
    WebServer &operator=(const WebServer &) = delete;

    // Listens and serves in a child process; false with ERROR when it cannot listen.
    bool start(const WebOptions &options, std::string &error);
    // The page's address with its token.
    const std::string &url() const { return mUrl; }

  private:
    pid_t mPid = -1;
    std::string mUrl;
};

}  // namespace web
}  // namespace possim

#endif
