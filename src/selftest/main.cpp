// pos_selftest: checks every subsystem of the SDK as an application sees it.
//
//   pos_selftest [--scenario FILE]          numbered menu on standard input
//   pos_selftest --auto [--scenario FILE]   every section, no questions asked
//
// With --scenario, the values the terminal was started with (battery, serial number,
// installed applications) are expected as well. The exit status is 0 only when every check
// passed.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "Sections.h"

namespace selftest {

const Section *sections(int *count) {
    static const Section all[] = {
        {"System and power", testSystemAndPower},
        {"Logging", testLogging},
        {"Database", testDatabase},
        {"Algorithms", testAlgorithms},
        {"RSA", testRsa},
        {"Application management", testApplications},
        {"Wi-Fi", nullptr},
        {"Cellular network", testCellular},
        {"Display", testDisplay},
        {"Text-to-speech", testSpeech},
        {"Power, LEDs and small devices", testSmallDevices},
        {"PIN pad", testPinpad},
        {"System information", testSystemInformation},
        {"Card readers", testCardReaders},
        {"Time and timers", testTime},
    };
    *count = static_cast<int>(sizeof all / sizeof all[0]);
    return all;
}

}  // namespace selftest

namespace {

using selftest::Checks;
using selftest::Expectations;
using selftest::Section;

void runSection(Checks &checks, const Section &section, const Expectations &expected) {
    if (section.run == nullptr) {
        checks.unavailable(section.title);
        return;
    }
    checks.section(section.title);
    section.run(checks, expected);
}

void runAll(Checks &checks, const Expectations &expected) {
    int count = 0;
    const Section *all = selftest::sections(&count);
    for (int i = 0; i < count; ++i) runSection(checks, all[i], expected);
}

void showMenu() {
    int count = 0;
    const Section *all = selftest::sections(&count);
    printf("\n");
    for (int i = 0; i < count; ++i) {
        printf("%2d  %s%s\n", i + 1, all[i].title,
               all[i].run ? "" : " (not available on this build)");
    }
    printf(" a  all of them\n q  quit\n> ");
    fflush(stdout);
}

// Reads choices until "q" or the end of input; every chosen section adds to one summary.
void runMenu(Checks &checks, const Expectations &expected) {
    int count = 0;
    const Section *all = selftest::sections(&count);
    std::string line;
    for (showMenu(); std::getline(std::cin, line); showMenu()) {
        if (line == "q") break;
        if (line == "a") {
            runAll(checks, expected);
            continue;
        }
        char *end = nullptr;
        long choice = strtol(line.c_str(), &end, 10);
        if (end == line.c_str() || *end != '\0' || choice < 1 || choice > count) {
            printf("choose 1 to %d, a or q\n", count);
            continue;
        }
        runSection(checks, all[choice - 1], expected);
    }
    printf("\n");
}

int usage(const char *program) {
    fprintf(stderr, "usage: %s [--auto] [--scenario FILE]\n", program);
    return 2;
}

}  // namespace

int main(int argc, char **argv) {
    bool automatic = false;
    const char *scenario = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--auto") == 0) {
            automatic = true;
        } else if (strcmp(argv[i], "--scenario") == 0 && i + 1 < argc) {
            scenario = argv[++i];
        } else {
            return usage(argv[0]);
        }
    }
    Expectations expected;
    if (scenario != nullptr) {
        std::string error;
        if (!selftest::loadScenario(scenario, expected, error)) {
            fprintf(stderr, "pos_selftest: %s\n", error.c_str());
            return 2;
        }
    }
    Checks checks;
    if (automatic) {
        runAll(checks, expected);
    } else {
        runMenu(checks, expected);
    }
    return checks.summary() ? 0 : 1;
}
