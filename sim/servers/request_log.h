// The log of every request the local servers receive: one readable line per request,
// "SERVER CODE FIELDS -> ANSWER", appended to a file that people and tests can read. Servers
// record a request before they answer it, so a client holding its answer finds the line.
#ifndef POS_SIM_SERVERS_REQUEST_LOG_H
#define POS_SIM_SERVERS_REQUEST_LOG_H

#include <mutex>
#include <string>

namespace possim {

class RequestLog {
  public:
    explicit RequestLog(std::string file) : file_(std::move(file)) {}
    void record(const std::string &server, int code, const std::string &fields,
                const std::string &answer);
    const std::string &file() const { return file_; }

  private:
    std::string file_;
    std::mutex mutex_;
};

// TEXT as a double-quoted string with control characters escaped.
std::string quoteText(const std::string &text);

}  // namespace possim

#endif
