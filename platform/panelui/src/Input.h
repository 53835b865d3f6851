// The input queue of the panel: key presses, touches, typed characters and signature strokes,
// fed by input sources (a scenario input script; events injected by tests or a console).
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

namespace panelui {

struct InputEvent {
    enum class Type { Key, Touch, Char, Sign } type = Type::Key;
    int key = 0;          // Key: a PNL_KEY_* code
    int x = 0, y = 0;     // Touch
    char ch = 0;          // Char: one typed byte
    std::string strokes;  // Sign: the stroke text of the script ("crash" and "none" too)
};

// A source the queue pulls from when it runs dry.
class InputSource {
  public:
    virtual ~InputSource() = default;
    // The next event, or false when the source has nothing now.
    virtual bool next(InputEvent &event) = 0;
    // Whether nothing now may still mean something later (a console); a source that is not
    // live is done once it has nothing.
    virtual bool live() const { return false; }
};

// Reads a scenario input script (see panelui_host.h); a bad line is reported on standard
// error and skipped.
std::unique_ptr<InputSource> openInputScript(const std::string &path);
// The key code of a key name ("ENTER", "5"), or 0.
int keyCodeOf(const std::string &name);

class InputQueue {
  public:
    void push(const InputEvent &event);
    void pushText(const std::string &text);
    void clear();
    void addSource(std::unique_ptr<InputSource> source);
    // Waits up to TIMEOUTMS (0 or less: as long as input can come) for the next event. With
    // nothing queued and no source that may still deliver, it ends at once: a scripted
    // session that ran out of input reads as a time-out instead of hanging.
    bool wait(InputEvent &event, int timeoutMs);
    // Takes the next event if it is signature strokes.
    bool takeSign(InputEvent &event);
    // A live source (a console) is attached: an empty queue waits for it, asking the live
    // sources again every few milliseconds.
    void setLive(bool live);

  private:
    bool pull(InputEvent &event);  // with the lock held

    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<InputEvent> events_;
    std::deque<std::unique_ptr<InputSource>> sources_;
    bool live_ = false;
};

InputQueue &inputQueue();

}  // namespace panelui
