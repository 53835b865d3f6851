#include "web/EventHub.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <sstream>

#include "control/control.h"

namespace possim {
namespace web {

namespace {

using json = nlohmann::json;

// Enough for a page that was busy for a few seconds during a burst of frames.
const size_t kHistory = 512;
// The lines a new page sees of the logs, and the most read at once from one.
const size_t kLogLinesKept = 200;
const size_t kLogChunk = 64 * 1024;
const size_t kFilesKept = 2000;

bool endsWith(const std::string &text, const std::string &end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string dump(const json &value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

bool isLog(const std::string &name) {
    return endsWith(name, ".log") || endsWith(name, ".txt");
}

// The run's own bookkeeping and hidden files (the speech engine's runtime files) are no
// output.
bool ignored(const std::string &name) {
    return name.empty() || name[0] == '.' || name == ctl::kRunFile || name == "pos-sim.web";
}

}  // namespace

std::string fileKind(const std::string &relative) {
    std::string lower;
    for (char c : relative) lower += static_cast<char>(tolower(static_cast<unsigned char>(c)));
    std::string base = lower.substr(lower.rfind('/') + 1);
    if (endsWith(lower, ".wav")) return "audio";
    if (endsWith(lower, ".png")) {
        if (lower.find("receipt") != std::string::npos || lower.find("print") != std::string::npos)
            return "receipt";
        if (base.compare(0, 6, "frame-") == 0 || base.compare(0, 6, "screen") == 0) return "frame";
        return "image";
    }
    return "file";
}

EventHub::EventHub(std::string outDir, std::string console, int pollMs)
    : mOutDir(std::move(outDir)), mConsole(std::move(console)), mPollMs(pollMs) {}

bool EventHub::start(std::string &error) {
    if (pipe2(mWake, O_CLOEXEC | O_NONBLOCK) != 0) {
        error = std::string("pipe: ") + strerror(errno);
        return false;
    }
    if (!mOutDir.empty()) {
        mInotify = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
        if (mInotify < 0) {
            error = std::string("inotify: ") + strerror(errno);
            return false;
        }
        addWatches(mOutDir);
        mWatcher = std::thread([this] { watchFiles(); });
    }
    mPoller = std::thread([this] { pollState(); });
    return true;
}

void EventHub::stop() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
    }
    mChanged.notify_all();
    if (mWake[1] >= 0) (void)!write(mWake[1], "x", 1);
    if (mWatcher.joinable()) mWatcher.join();
    if (mPoller.joinable()) mPoller.join();
    for (int *fd : {&mInotify, &mWake[0], &mWake[1]}) {
        if (*fd >= 0) close(*fd);
        *fd = -1;
    }
}

bool EventHub::stopping() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mStopping;
}

void EventHub::publish(const std::string &name, const std::string &data) {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mHistory.push_back({mNext++, name, data});
        if (mHistory.size() > kHistory) mHistory.pop_front();
    }
    mChanged.notify_all();
}

std::vector<Event> EventHub::snapshot(uint64_t &next) {
    std::lock_guard<std::mutex> lock(mMutex);
    std::vector<Event> events;
    for (const auto &file : mFiles) events.push_back({0, "file", file.second});
    if (!mState.empty()) events.push_back({0, "state", mState});
    // The log lines still in the history, so that a new page sees the tail.
    size_t lines = 0;
    for (auto it = mHistory.rbegin(); it != mHistory.rend() && lines < kLogLinesKept; ++it) {
        if (it->name == "log") ++lines;
    }
    for (const Event &event : mHistory) {
        if (event.name == "log" && lines > 0) {
            events.push_back(event);
            --lines;
        }
    }
    next = mNext;
    return events;
}

std::vector<Event> EventHub::waitFrom(uint64_t &next, int timeoutMs) {
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                      [&] { return mStopping || mNext > next; });
    std::vector<Event> events;
    for (const Event &event : mHistory) {
        if (event.number >= next) events.push_back(event);
    }
    next = mNext;
    return events;
}

void EventHub::pollSoon() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mPollNow = true;
    }
    mChanged.notify_all();
}

std::string EventHub::relativeName(const std::string &path) const {
    return path.size() > mOutDir.size() + 1 ? path.substr(mOutDir.size() + 1) : "";
}

// Watches DIR and every directory below it, announcing the files already there (written
// before the watch was in place).
void EventHub::addWatches(const std::string &dir) {
    int wd = inotify_add_watch(mInotify, dir.c_str(),
                               IN_CLOSE_WRITE | IN_MOVED_TO | IN_MODIFY | IN_CREATE | IN_ONLYDIR);
    if (wd < 0) return;
    mWatched[wd] = dir;
    DIR *d = opendir(dir.c_str());
    if (d == nullptr) return;
    std::vector<std::string> names;
    while (dirent *e = readdir(d)) names.push_back(e->d_name);
    closedir(d);
    for (const std::string &name : names) {
        if (ignored(name)) continue;
        std::string path = dir + "/" + name;
        struct stat st;
        if (lstat(path.c_str(), &st) != 0) continue;
        if (S_ISDIR(st.st_mode)) {
            addWatches(path);
        } else if (S_ISREG(st.st_mode)) {
            fileWritten(path);
        }
    }
}

void EventHub::fileWritten(const std::string &path) {
    std::string relative = relativeName(path);
    if (relative.empty()) return;
    if (isLog(relative)) {
        tailLog(path);
        return;
    }
    struct stat st;
    if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return;
    json value = {{"path", relative},
                  {"kind", fileKind(relative)},
                  {"size", static_cast<uint64_t>(st.st_size)},
                  {"version", static_cast<uint64_t>(st.st_mtim.tv_sec) * 1000000000ULL +
                                  static_cast<uint64_t>(st.st_mtim.tv_nsec)}};
    std::string data = dump(value);
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (mFiles.size() < kFilesKept || mFiles.count(relative) != 0) mFiles[relative] = data;
    }
    publish("file", data);
}

// Sends the whole lines added to a log since the last look (at most a chunk at a time; a
// log seen for the first time from its last chunk on).
void EventHub::tailLog(const std::string &path) {
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return;
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        return;
    }
    uint64_t size = static_cast<uint64_t>(st.st_size);
    auto known = mLogOffset.find(path);
    uint64_t offset =
        known != mLogOffset.end() ? known->second : (size > kLogChunk ? size - kLogChunk : 0);
    if (offset > size) offset = 0;  // truncated and written anew
    json lines = json::array();
    while (offset < size) {
        std::string chunk(static_cast<size_t>(std::min<uint64_t>(kLogChunk, size - offset)), '\0');
        ssize_t n = pread(fd, &chunk[0], chunk.size(), static_cast<off_t>(offset));
        if (n <= 0) break;
        chunk.resize(static_cast<size_t>(n));
        size_t end = chunk.rfind('\n');
        if (end == std::string::npos) break;  // a line still being written
        std::istringstream in(chunk.substr(0, end));
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        offset += end + 1;
    }
    close(fd);
    mLogOffset[path] = offset;
    if (lines.empty()) return;
    // Long bursts go out as several events so that one never outgrows a page's buffer.
    for (size_t i = 0; i < lines.size(); i += kLogLinesKept) {
        json part = json::array();
        for (size_t j = i; j < lines.size() && j < i + kLogLinesKept; ++j) part.push_back(lines[j]);
        publish("log", dump({{"file", relativeName(path)}, {"lines", part}}));
    }
}

void EventHub::watchFiles() {
    alignas(inotify_event) char buffer[16 * 1024];
    for (;;) {
        pollfd p[2] = {{mWake[0], POLLIN, 0}, {mInotify, POLLIN, 0}};
        if (poll(p, 2, -1) < 0 && errno != EINTR) return;
        if (p[0].revents != 0) return;
        ssize_t n = read(mInotify, buffer, sizeof buffer);
        if (n <= 0) continue;
        for (char *at = buffer; at < buffer + n;) {
            auto *e = reinterpret_cast<inotify_event *>(at);
            at += sizeof(inotify_event) + e->len;
            auto dir = mWatched.find(e->wd);
            if (e->mask & IN_IGNORED) mWatched.erase(e->wd);
            if (dir == mWatched.end() || e->len == 0) continue;
            std::string name = e->name;
            if (ignored(name)) continue;
            std::string path = dir->second + "/" + name;
            if ((e->mask & IN_CREATE) && (e->mask & IN_ISDIR)) {
                addWatches(path);
            } else if (e->mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) {
                fileWritten(path);
            } else if ((e->mask & IN_MODIFY) && isLog(name)) {
                tailLog(path);  // logs are held open and appended to
            }
        }
    }
}

// The services and their states, published when they change.
void EventHub::pollState() {
    for (;;) {
        json state = {{"running", false}};
        ctl::Answer list = ctl::request(mConsole, {"list"});
        if (list.ok) {
            state["running"] = true;
            json services = json::array();
            std::istringstream lines(list.text);
            for (std::string line; std::getline(lines, line);) {
                std::istringstream fields(line);
                std::string key, name, status;
                std::getline(fields, key, '\t');
                std::getline(fields, name, '\t');
                std::getline(fields, status, '\t');
                json service = {{"key", key}, {"name", name}, {"status", status}};
                if (status == "running") {
                    ctl::Answer answer = ctl::request(mConsole, {key, "state"});
                    service["state"] =
                        answer.ok ? json::parse(answer.text, nullptr, false) : json(nullptr);
                    if (service["state"].is_discarded()) service["state"] = nullptr;
                }
                services.push_back(service);
            }
            state["services"] = services;
        } else {
            state["reason"] = list.text;
        }
        std::string data = dump(state);
        bool changed;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            changed = data != mState;
            mState = data;
        }
        if (changed) publish("state", data);

        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait_for(lock, std::chrono::milliseconds(mPollMs),
                          [this] { return mStopping || mPollNow; });
        if (mStopping) return;
        mPollNow = false;
    }
}

}  // namespace web
}  // namespace possim
