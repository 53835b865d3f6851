// The self-test's sections. Each runs its checks against the SDK as an application sees it and
// leaves the terminal as it found it where it can.
#ifndef POS_SELFTEST_SECTIONS_H
#define POS_SELFTEST_SECTIONS_H

#include "Checks.h"
#include "Scenario.h"

namespace selftest {

void testSystemAndPower(Checks &checks, const Expectations &expected);
void testLogging(Checks &checks, const Expectations &expected);
void testDatabase(Checks &checks, const Expectations &expected);
void testAlgorithms(Checks &checks, const Expectations &expected);
void testRsa(Checks &checks, const Expectations &expected);
void testApplications(Checks &checks, const Expectations &expected);
void testPinpad(Checks &checks, const Expectations &expected);
void testSpeech(Checks &checks, const Expectations &expected);
void testSmallDevices(Checks &checks, const Expectations &expected);
void testCellular(Checks &checks, const Expectations &expected);
void testSystemInformation(Checks &checks, const Expectations &expected);
void testCardReaders(Checks &checks, const Expectations &expected);
void testDisplay(Checks &checks, const Expectations &expected);
void testTime(Checks &checks, const Expectations &expected);

struct Section {
    const char *title;
    void (*run)(Checks &, const Expectations &);  // null: not available on this build
};

// Every section in menu order, the unavailable ones included.
const Section *sections(int *count);

}  // namespace selftest

#endif
