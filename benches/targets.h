// What the benches have in common: their options, their tables, and the targets that figures are held against.
//
// A bench program takes
//     --quick         fewer and shorter rounds: for use while working, not for the page
//     --rows FILE     writes each target with its figure to FILE.json (an object a line) and FILE.md (a table row a line)
#ifndef KORVANE_BENCHES_TARGETS_H
#define KORVANE_BENCHES_TARGETS_H

#include <string>
#include <vector>

namespace bench {

// Before anything else. Ends the program on an option that it does not know.
void Start(int argc, char** argv);
bool IsQuick();

// Says what is wrong and ends the program.
[[noreturn]] void Fail(const std::string& what);

// For the first lines of a section. The page has the line ends of the project.
void PrintText(const char* text);

struct Spread
{
    double median, lowest, highest;
};
Spread SpreadOf(std::vector<double> values);

// The subjects of one job, each with its figure in every round.
struct Subject
{
    std::string name, how;
    std::vector<double> times; // one a round, in the table's unit
};
struct Table
{
    std::string title;
    std::string unit; // begins with ns, us or ms
    std::vector<Subject> subjects;

    const Subject& operator[](const std::string& name) const; // ends the program when there is none
};

// Prints the table; the first subject is the one that the others are compared with.
void Print(const Table& table);

// AtLeast: the subject is to be so many times faster than the peer. AtMost: its figure may be so many times the peer's.
struct Aim
{
    bool isAtLeast;
    double limit;
};
inline Aim AtLeast(double limit)
{
    return {true, limit};
}
inline Aim AtMost(double limit)
{
    return {false, limit};
}

// Holds the medians of two subjects against a target and writes the rows for it.
void Judge(const Table& table, const std::string& job, const std::string& subject, const std::string& peer, Aim aim);
// The same for any two figures; times in ns, or bytes.
void Judge(const std::string& job, const std::string& subject, const std::string& peer, double figure,
           double peerFigure, const char* unit, Aim aim);

} // namespace bench

#endif
