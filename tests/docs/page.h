// What the source of a page's examples needs, and how its test runs them: in a folder of their own, with everything
// that they print held against what the page shows.
#ifndef KORVANE_TESTS_DOCS_PAGE_H
#define KORVANE_TESTS_DOCS_PAGE_H

#include <korvanelib.h>
#include <korvanebatch.h>

#include "resource.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <list>
#include <string>

class CPage
{
public:
    // Whether an example is here to be run: not one that opens a window or starts a program.
    bool IsRun() const { return true; }
    // What was printed since the last call has to be `shown`: see ShowsAs.
    void Expect(int line, const char* shown);
    // The end of the page was reached: no example has returned early.
    void Finish() { m_isFinished = true; }
    bool IsFinished() const { return m_isFinished; }

private:
    bool m_isFinished = false;
};

// Runs a page's examples as a test.
void RunPage(void (*page)(CPage&));

// Whether `text` is what `shown` says: line by line the same, but that "..." within a line stands for any characters,
// and "..." as a line for any lines.
bool ShowsAs(const std::string& text, const std::string& shown);

#endif
