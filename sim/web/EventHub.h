// What the terminal's page follows as it happens: the files the run writes to its output
// directory (frames, receipts, speech), the lines added to its logs, and the state of the
// services read through the control console. Each is one event, numbered in order; every
// connected page reads them at its own pace from the hub's recent history.
#ifndef POS_SIM_WEB_EVENT_HUB_H
#define POS_SIM_WEB_EVENT_HUB_H

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace possim {
namespace web {

struct Event {
    uint64_t number = 0;
    std::string name;  // file, log, state
    std::string data;  // one line of JSON
};

// The kind of an output file, as the page shows it: frame, receipt, audio or file.
std::string fileKind(const std::string &relative);

class EventHub {
  public:
    // OUTDIR is followed (may be empty: then only the state is); CONSOLE is the run's console
    // socket, read every POLLMS.
    EventHub(std::string outDir, std::string console, int pollMs);
    ~EventHub() { stop(); }
    EventHub(const EventHub &) = delete;
    EventHub &operator=(const EventHub &) = delete;

    bool start(std::string &error);
    void stop();

    // The events from what a new page must see first (every file so far, the latest state)
    // and the number to wait for next.
    std::vector<Event> snapshot(uint64_t &next);
    // Events numbered NEXT on, waiting up to TIMEOUTMS for one; NEXT moves past them. A page
    // that fell further behind than the history reaches skips what was dropped.
    std::vector<Event> waitFrom(uint64_t &next, int timeoutMs);
    // Reads the state now rather than at the next round (after a console command).
    void pollSoon();
    bool stopping();

    void publish(const std::string &name, const std::string &data);

  private:
    void watchFiles();
    void pollState();
    void addWatches(const std::string &dir);
    void fileWritten(const std::string &path);
    void tailLog(const std::string &path);
    std::string relativeName(const std::string &path) const;

    std::string mOutDir;
    std::string mConsole;
    int mPollMs;

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::deque<Event> mHistory;
    uint64_t mNext = 1;
    std::map<std::string, std::string> mFiles;  // relative name -> its file event's data
    std::string mState;
    bool mStopping = false;
    bool mPollNow = false;

    int mInotify = -1;
    int mWake[2] = {-1, -1};
    std::map<int, std::string> mWatched;         // watch descriptor -> directory
    std::map<std::string, uint64_t> mLogOffset;  // log file -> bytes already sent
    std::thread mWatcher;
    std::thread mPoller;
};

}  // namespace web
}  // namespace possim

#endif
