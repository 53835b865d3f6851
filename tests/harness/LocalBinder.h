// A binder context of the test's own outside any simulated terminal: a private socket
// directory (POS_BINDER_DIR) and, when asked, the service manager and simulated services as
// processes of their own. Everything is stopped and removed when it goes.
#ifndef POS_TESTS_HARNESS_LOCAL_BINDER_H
#define POS_TESTS_HARNESS_LOCAL_BINDER_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace harness {

class LocalBinder {
  public:
    LocalBinder();
    ~LocalBinder();
    LocalBinder(const LocalBinder &) = delete;
    LocalBinder &operator=(const LocalBinder &) = delete;

    // The service manager; false when it did not come up.
    bool startManager();
    // The simulated service KEY with STATE (its scenario section as JSON); its pid, or -1.
    pid_t startService(const std::string &key, const std::string &state = "{}");
    // The processes started, in start order.
    const std::vector<pid_t> &pids() const { return mPids; }

  private:
    std::string mDir;
    std::vector<pid_t> mPids;
};

}  // namespace harness

#endif
