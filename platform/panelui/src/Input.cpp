#include "Input.h"

#include <panelui/panelui.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include "Panel.h"

namespace panelui {

namespace {

// How often an empty queue asks its live sources again.
constexpr std::chrono::milliseconds kLivePoll{20};

class ScriptSource : public InputSource {
  public:
    explicit ScriptSource(std::ifstream in, std::string path)
        : in_(std::move(in)), path_(std::move(path)) {}

    bool next(InputEvent &event) override {
        while (pending_.empty()) {
            std::string line;
            if (!std::getline(in_, line)) return false;
            ++lineNo_;
            parse(line);
        }
        event = pending_.front();
        pending_.pop_front();
        return true;
    }

  private:
    void parse(const std::string &line) {
        std::istringstream words(line);
        std::string verb;
        if (!(words >> verb) || verb[0] == '#') return;
        std::string rest;
        std::getline(words, rest);
        rest.erase(0, rest.find_first_not_of(" \t"));
        InputEvent e;
        if (verb == "key" && (e.key = keyCodeOf(rest)) != 0) {
            e.type = InputEvent::Type::Key;
            pending_.push_back(e);
        } else if (verb == "touch" && std::istringstream(rest) >> e.x >> e.y) {
            e.type = InputEvent::Type::Touch;
            pending_.push_back(e);
        } else if (verb == "text") {
            for (char c : rest) {
                e.type = InputEvent::Type::Char;
                e.ch = c;
                pending_.push_back(e);
            }
        } else if (verb == "screenshot" && !rest.empty()) {
            screenshot(rest);
        } else if (verb == "sign") {
            e.type = InputEvent::Type::Sign;
            e.strokes = rest;
            pending_.push_back(e);
        } else {
            fprintf(stderr, "panelui: %s:%d: not an input event: %s\n", path_.c_str(), lineNo_,
                    line.c_str());
        }
    }

    // The frame as it is when the script gets here, into the output directory.
    void screenshot(const std::string &name) {
        const std::string &dir = panel().outDir;
        if (dir.empty() || name.find('/') != std::string::npos ||
            writeFramePng((dir + "/" + name).c_str()) != 0) {
            fprintf(stderr, "panelui: %s:%d: cannot write the screenshot %s (POS_PANELUI_OUT %s)\n",
                    path_.c_str(), lineNo_, name.c_str(), dir.c_str());
        }
    }

    std::ifstream in_;
    std::string path_;
    int lineNo_ = 0;
    std::deque<InputEvent> pending_;
};

}  // namespace

int keyCodeOf(const std::string &name) {
    if (name.size() == 1 && name[0] >= '0' && name[0] <= '9') return PNL_KEY_0 + (name[0] - '0');
    static const struct {
        const char *name;
        int code;
    } kNames[] = {{"CANCEL", PNL_KEY_CANCEL}, {"CLEAR", PNL_KEY_CLEAR}, {"ENTER", PNL_KEY_ENTER},
                  {"UP", PNL_KEY_UP},         {"DOWN", PNL_KEY_DOWN},   {"MENU", PNL_KEY_MENU}};
    for (const auto &k : kNames) {
        if (name == k.name) return k.code;
    }
    return 0;
}

std::unique_ptr<InputSource> openInputScript(const std::string &path) {
    std::ifstream in(path);
    if (!in) return nullptr;
    return std::make_unique<ScriptSource>(std::move(in), path);
}

void InputQueue::push(const InputEvent &event) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(event);
    }
    ready_.notify_all();
}

void InputQueue::pushText(const std::string &text) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (char c : text) {
            InputEvent e;
            e.type = InputEvent::Type::Char;
            e.ch = c;
            events_.push_back(e);
        }
    }
    ready_.notify_all();
}

void InputQueue::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    events_.clear();
    // Scripts are dropped; a console stays attached.
    sources_.erase(std::remove_if(sources_.begin(), sources_.end(),
                                  [](const std::unique_ptr<InputSource> &s) { return !s->live(); }),
                   sources_.end());
}

void InputQueue::addSource(std::unique_ptr<InputSource> source) {
    std::lock_guard<std::mutex> lock(mutex_);
    sources_.push_back(std::move(source));
}

void InputQueue::setLive(bool live) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        live_ = live;
    }
    ready_.notify_all();
}

bool InputQueue::pull(InputEvent &event) {
    if (!events_.empty()) {
        event = events_.front();
        events_.pop_front();
        return true;
    }
    for (auto it = sources_.begin(); it != sources_.end();) {
        if ((*it)->next(event)) return true;
        it = (*it)->live() ? std::next(it) : sources_.erase(it);
    }
    return false;
}

bool InputQueue::wait(InputEvent &event, int timeoutMs) {
    std::unique_lock<std::mutex> lock(mutex_);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (pull(event)) return true;
        if (!live_) return false;
        auto wake = std::chrono::steady_clock::now() + kLivePoll;
        if (timeoutMs > 0 && wake >= deadline) {
            ready_.wait_until(lock, deadline);
            return pull(event);
        }
        ready_.wait_until(lock, wake);
    }
}

bool InputQueue::takeSign(InputEvent &event) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (events_.empty()) {
        InputEvent next;
        if (!pull(next)) return false;
        events_.push_front(next);
    }
    if (events_.front().type != InputEvent::Type::Sign) return false;
    event = events_.front();
    events_.pop_front();
    return true;
}

InputQueue &inputQueue() {
    static InputQueue queue;
    return queue;
}

}  // namespace panelui
