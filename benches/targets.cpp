#include "targets.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {

namespace {

bool s_isQuick = false;
std::string s_rows; // empty: none are written

// Names are set in code type in the tables; in JSON they are plain.
std::string Plain(std::string name)
{
    name.erase(std::remove(name.begin(), name.end(), '`'), name.end());
    return name;
}

double NanosecondsIn(const std::string& unit)
{
    const std::string prefix = unit.substr(0, 2);
    if (prefix == "ns") return 1;
    if (prefix == "us") return 1e3;
    if (prefix == "ms") return 1e6;
    Fail("no unit of time: " + unit);
}

// With the unit that keeps the number short.
std::string Readable(double figure, bool isTime)
{
    static constexpr struct
    {
        double from;
        const char *time, *size;
    } kScales[] = {{1e6, "ms", "MB"}, {1e3, "us", "KB"}, {1, "ns", "bytes"}};
    const auto* scale = std::begin(kScales);
    while (scale + 1 != std::end(kScales) && figure < scale->from) ++scale;
    char text[64];
    std::snprintf(text, sizeof text, "%.1f %s", figure / scale->from, isTime ? scale->time : scale->size);
    return text;
}

void AppendLine(const std::string& path, const std::string& line)
{
    FILE* const file = std::fopen(path.c_str(), "ab");
    if (!file || std::fputs(line.c_str(), file) < 0 || std::fclose(file) != 0) Fail("cannot write " + path);
}

} // namespace

void Start(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0) {
            s_isQuick = true;
        } else if (std::strcmp(argv[i], "--rows") == 0 && i + 1 < argc) {
            s_rows = argv[++i];
        } else {
            Fail(std::string("unknown option ") + argv[i]);
        }
    }
}

bool IsQuick()
{
    return s_isQuick;
}

void Fail(const std::string& what)
{
    std::fprintf(stderr, "bench: error: %s\n", what.c_str());
    std::exit(1);
}

void PrintText(const char* text)
{
    ::_setmode(::_fileno(stdout), _O_BINARY);
    std::fputs(text, stdout);
}

Spread SpreadOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t half = values.size() / 2;
    const double median = values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
    return {median, values.front(), values.back()};
}

const Subject& Table::operator[](const std::string& name) const
{
    for (const Subject& subject : subjects) {
        if (subject.name == name) return subject;
    }
    Fail(title + " has no subject " + name);
}

void Print(const Table& table)
{
    const std::vector<double>& base = table.subjects.front().times;
    const double baseMedian = SpreadOf(base).median;
    std::printf("\n### %s\n\n", table.title.c_str());
    std::printf("| | %s | lowest to highest | times the first row's | in single rounds | how |\n", table.unit.c_str());
    std::printf("| --- | ---: | ---: | ---: | ---: | --- |\n");
    for (const Subject& subject : table.subjects) {
        std::vector<double> ratios;
        for (size_t round = 0; round < base.size(); ++round) ratios.push_back(subject.times[round] / base[round]);
        const Spread time = SpreadOf(subject.times), ratio = SpreadOf(ratios);
        std::printf("| %s | %.1f | %.1f to %.1f | **%.2f** | %.2f to %.2f | %s |\n", subject.name.c_str(), time.median,
                    time.lowest, time.highest, time.median / baseMedian, ratio.lowest, ratio.highest,
                    subject.how.c_str());
    }
    std::fflush(stdout);
}

void Judge(const Table& table, const std::string& job, const std::string& subject, const std::string& peer, Aim aim)
{
    const double scale = NanosecondsIn(table.unit);
    Judge(job, subject, peer, SpreadOf(table[subject].times).median * scale, SpreadOf(table[peer].times).median * scale,
          "ns", aim);
}

void Judge(const std::string& job, const std::string& subject, const std::string& peer, double figure,
           double peerFigure, const char* unit, Aim aim)
{
    if (s_rows.empty()) return;
    const double ratio = aim.isAtLeast ? peerFigure / figure : figure / peerFigure;
    const bool isMet = aim.isAtLeast ? ratio >= aim.limit : ratio <= aim.limit;
    const bool isTime = std::strcmp(unit, "ns") == 0;
    char line[1024];
    std::snprintf(line, sizeof line,
                  R"({"job":"%s","subject":"%s","peer":"%s","unit":"%s","ns":%.1f,"peer_ns":%.1f,"ratio":%.3f,)"
                  R"("target":"%s %g","met":%s})"
                  "\n",
                  Plain(job).c_str(), Plain(subject).c_str(), Plain(peer).c_str(), unit, figure, peerFigure, ratio,
                  aim.isAtLeast ? ">=" : "<=", aim.limit, isMet ? "true" : "false");
    AppendLine(s_rows + ".json", line);
    std::snprintf(line, sizeof line, "| %s | %s | %s | %s | %s | %s %g | **%.2f** | %s |\n", job.c_str(),
                  subject.c_str(), Readable(figure, isTime).c_str(), peer.c_str(), Readable(peerFigure, isTime).c_str(),
                  aim.isAtLeast ? "at least" : "at most", aim.limit, ratio, isMet ? "yes" : "**no**");
    AppendLine(s_rows + ".md", line);
}

} // namespace bench
