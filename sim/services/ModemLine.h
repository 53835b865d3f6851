// The simulated modem's serial line: serves the master side of the pseudo-terminal that stands
// at the modem's device node, as a cellular module does its AT port: echo, one command per CR,
// information lines and a final result, the "> " prompt for data ended by Ctrl-Z, unsolicited
// lines, and every command logged. Silent, it neither reads nor answers.
#ifndef POS_SIM_MODEM_LINE_H
#define POS_SIM_MODEM_LINE_H

#include <atomic>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "AtInterpreter.h"

namespace possim {

// The master side, among this process's descriptors, of the pseudo-terminal whose terminal
// side is DEVICE (the sandbox leaves its masters open in every process it starts); -1 if none.
int ptyMasterOf(const std::string &device);

// Sets the terminal side at DEVICE to raw mode, as the modem's port is: no echo, no line
// editing, no character translation. False when it cannot be opened.
bool makeLineRaw(const std::string &device);

class ModemLine {
  public:
    using Answerer = std::function<AtAnswer(const std::string &command)>;

    // Serves MASTER (not owned) with ANSWER, logging commands to LOG (empty: no log).
    ModemLine(int master, Answerer answer, const std::string &log);
    ~ModemLine();
    ModemLine(const ModemLine &) = delete;
    ModemLine &operator=(const ModemLine &) = delete;

    void setSilent(bool silent) { mSilent = silent; }
    void setEcho(bool echo) { mEcho = echo; }
    bool echo() const { return mEcho; }
    // Sends LINE unasked, as the module reports an event.
    void unsolicited(const std::string &line);

    // Longest command line kept; a longer one is answered ERROR when it ends.
    static constexpr size_t kMaxCommand = 4096;

  private:
    void run();
    void take(char c);
    void endCommand();
    void endData(bool sent);
    void send(const std::string &text);
    void logLine(const std::string &command, const std::string &final);

    int mMaster;
    Answerer mAnswer;
    std::ofstream mLog;
    std::mutex mWriteLock;  // the line and the log: the server thread and unsolicited lines
    std::atomic<bool> mSilent{false};
    std::atomic<bool> mEcho{true};
    std::atomic<bool> mStop{false};
    std::string mInput;  // the command (or, after a prompt, the data) being received
    bool mOverlong = false;
    bool mInData = false;
    std::string mPromptCommand;
    std::thread mThread;
};

}  // namespace possim

#endif
