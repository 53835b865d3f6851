// The package server's manifest reader on arbitrary text. Every input is answered with true or
// false, never an exception or a crash however deep or large; an accepted manifest names an
// application the server can keep in its own directory and start from inside its package.
#include <string>

#include "FuzzCheck.h"
#include "servers/package_server.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    possim::ScenarioApp app;
    std::string error;
    bool ok = false;
    try {
        ok = possim::parseManifest(text, app, error);
    } catch (...) {
        FUZZ_CHECK(!"parseManifest let an exception out");
    }
    if (!ok) {
        FUZZ_CHECK(!error.empty());
        return 0;
    }
    FUZZ_CHECK(size <= possim::kMaxManifestBytes);
    FUZZ_CHECK(!app.id.empty() && app.id.size() <= 32 && app.id[0] != '.');
    FUZZ_CHECK(app.id.find('/') == std::string::npos);
    FUZZ_CHECK(!app.exec.empty() && app.exec[0] != '/');
    // No component of the program's path climbs out of the package.
    for (size_t start = 0; start <= app.exec.size();) {
        size_t end = app.exec.find('/', start);
        if (end == std::string::npos) end = app.exec.size();
        FUZZ_CHECK(app.exec.compare(start, end - start, "..") != 0);
        start = end + 1;
    }
    FUZZ_CHECK(app.name.size() <= 255);
    return 0;
}
