// The harness of the benches: does one job in several ways, turn by turn in one run, and prints a table in Markdown.
//
// A round lets every subject work for as long, in whole passes: a subject with less to do would else slip through
// between the interruptions that hit the others. Each round begins with another subject, so that none always runs
// behind the same neighbour. One round before the first is not counted. Times on a machine with other work vary; what
// holds is how subjects of the same round compare, and that is what the table says. Every pass says whether its results
// are right: one that are not ends the program.
//
//     bench::Start(argc, argv);
//     bench::Comparison reading("Reading a number", "ns per number", 1e9 / count);
//     reading.Add("`_ttod`", "the text as it is", [&] { return SumOfAll(texts) == expected; });
//     reading.Add("`wcstod`", "the C library's", ...);
//     reading.Run();
//     bench::Judge(reading.Results(), "reading a number", "`_ttod`", "`wcstod`", bench::AtLeast(20));
#ifndef KORVANE_BENCHES_HARNESS_H
#define KORVANE_BENCHES_HARNESS_H

#include "targets.h"

#include <windows.h>

#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

inline double Seconds()
{
    LARGE_INTEGER ticks, frequency;
    ::QueryPerformanceCounter(&ticks);
    ::QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// How long a subject works in a round, at the least, and how many rounds there are.
struct Pace
{
    double seconds = 0.1;
    int rounds = 15;
};
// For jobs that wait for another process: the scheduler decides how long, and keeps to it for a while. Many short rounds
// let all subjects have their share of each.
constexpr Pace kShortRounds = {0.01, 150};

class Comparison
{
public:
    // `unit` names what is printed; `unitsPerSecond` turns the seconds of a pass into it.
    Comparison(std::string title, std::string unit, double unitsPerSecond, Pace pace = {})
        : m_dUnitsPerSecond(unitsPerSecond), m_pace(pace)
    {
        m_results.title = std::move(title);
        m_results.unit = std::move(unit);
    }

    // The first subject is the one that the others are compared with. `how` is a phrase for the table. `pass` does the
    // whole job once; false: its result is wrong.
    void Add(std::string name, std::string how, std::function<bool()> pass)
    {
        m_results.subjects.push_back({std::move(name), std::move(how), {}});
        m_passes.push_back(std::move(pass));
    }

    void Run()
    {
        const int rounds = IsQuick() ? m_pace.rounds / 5 : m_pace.rounds;
        const double leastSeconds = IsQuick() ? m_pace.seconds / 3 : m_pace.seconds;
        for (int round = -1; round < rounds; ++round) {
            for (size_t turn = 0; turn < m_passes.size(); ++turn) {
                const size_t subject = (turn + round + 1) % m_passes.size();
                double seconds = 0;
                unsigned passes = 0;
                for (const double started = Seconds(); seconds < leastSeconds; seconds = Seconds() - started) {
                    if (!m_passes[subject]()) {
                        Fail(m_results.title + ": " + m_results.subjects[subject].name + " gives a wrong result");
                    }
                    ++passes;
                }
                if (round >= 0) m_results.subjects[subject].times.push_back(seconds / passes * m_dUnitsPerSecond);
            }
        }
        Print(m_results);
    }

    const Table& Results() const { return m_results; }

private:
    double m_dUnitsPerSecond;
    Pace m_pace;
    Table m_results;
    std::vector<std::function<bool()>> m_passes; // one a subject
};

} // namespace bench

#endif
