// The harness of the benches: does one job in several ways, turn by turn in one run, and prints a table in Markdown.
//
// A round lets every subject work for as long, in whole passes: a subject with less to do would else slip through
// between the interruptions that hit the others. Each round begins with another subject, so that none always runs
// behind the same neighbour. One round before the first is not counted. Times on a machine with other work vary; what
// holds is how subjects of the same round compare, and that is what the table says. Every pass says whether its results
// are right: one that are not ends the program.
//
//     bench::Comparison reading("Reading a number", "ns per number", 1e9 / count);
//     reading.Add("`_ttod`", "the text as it is", [&] { return SumOfAll(texts) == expected; });
//     reading.Add("`wcstod`", "the C library's", ...);
//     reading.Run();
#ifndef KORVANE_BENCHES_HARNESS_H
#define KORVANE_BENCHES_HARNESS_H

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

[[noreturn]] inline void Fail(const std::string& what)
{
    std::fprintf(stderr, "bench: error: %s\n", what.c_str());
    std::exit(1);
}

// For the first lines of a section. The page has the line ends of the project.
inline void PrintText(const char* text)
{
    ::_setmode(::_fileno(stdout), _O_BINARY);
    std::fputs(text, stdout);
}

inline double Seconds()
{
    LARGE_INTEGER ticks, frequency;
    ::QueryPerformanceCounter(&ticks);
    ::QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks.QuadPart) / static_cast<double>(frequency.QuadPart);
}

struct Spread
{
    double median, lowest, highest;
};

inline Spread SpreadOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t half = values.size() / 2;
    const double median = values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
    return {median, values.front(), values.back()};
}

class Comparison
{
public:
    // `unit` names what is printed; `unitsPerSecond` turns the seconds of a pass into it.
    Comparison(std::string title, std::string unit, double unitsPerSecond)
        : m_strTitle(std::move(title)), m_strUnit(std::move(unit)), m_dUnitsPerSecond(unitsPerSecond)
    {
    }

    // The first subject is the one that the others are compared with. `how` is a phrase for the table. `pass` does the
    // whole job once; false: its result is wrong.
    void Add(std::string name, std::string how, std::function<bool()> pass)
    {
        m_subjects.push_back({std::move(name), std::move(how), std::move(pass), {}});
    }

    void Run(int rounds = 15)
    {
        for (int round = -1; round < rounds; ++round) {
            for (size_t turn = 0; turn < m_subjects.size(); ++turn) {
                Subject& subject = m_subjects[(turn + round + 1) % m_subjects.size()];
                double seconds = 0;
                unsigned passes = 0;
                for (const double started = Seconds(); seconds < kLeastSeconds; seconds = Seconds() - started) {
                    if (!subject.pass()) Fail(m_strTitle + ": " + subject.name + " gives a wrong result");
                    ++passes;
                }
                if (round >= 0) subject.times.push_back(seconds / passes * m_dUnitsPerSecond);
            }
        }
        Print();
    }

private:
    static constexpr double kLeastSeconds = 0.1; // of a subject in a round

    struct Subject
    {
        std::string name, how;
        std::function<bool()> pass;
        std::vector<double> times; // one a round, in the unit
    };

    void Print() const
    {
        const std::vector<double>& base = m_subjects.front().times;
        const double baseMedian = SpreadOf(base).median;
        std::printf("\n### %s\n\n", m_strTitle.c_str());
        std::printf("| | %s | lowest to highest | times the first row's | in single rounds | how |\n",
                    m_strUnit.c_str());
        std::printf("| --- | ---: | ---: | ---: | ---: | --- |\n");
        for (const Subject& subject : m_subjects) {
            std::vector<double> ratios;
            for (size_t round = 0; round < base.size(); ++round) ratios.push_back(subject.times[round] / base[round]);
            const Spread time = SpreadOf(subject.times), ratio = SpreadOf(ratios);
            std::printf("| %s | %.1f | %.1f to %.1f | **%.2f** | %.2f to %.2f | %s |\n", subject.name.c_str(),
                        time.median, time.lowest, time.highest, time.median / baseMedian, ratio.lowest, ratio.highest,
                        subject.how.c_str());
        }
        std::fflush(stdout);
    }

    std::string m_strTitle, m_strUnit;
    double m_dUnitsPerSecond;
    std::vector<Subject> m_subjects;
};

} // namespace bench

#endif
