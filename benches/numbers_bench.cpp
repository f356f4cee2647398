// _ttod and _ttof beside what else reads a number from UTF-16 text.
#include "harness.h"

#include "korvanelib.h"

#include <charconv>
#include <cmath>
#include <cwchar>
#include <limits>
#include <random>
#include <sstream>

namespace {

// So many that the processor cannot learn by heart what comes next.
constexpr size_t kTexts = 65536;
using Texts = std::vector<std::wstring>;

// What a host of the library reads: amounts, coordinates, counts, small fractions.
Texts MakeTexts()
{
    std::mt19937 random(20030423);
    Texts texts;
    while (texts.size() < kTexts) {
        static constexpr struct
        {
            const wchar_t* format;
            unsigned whole, fraction;
        } kKinds[] = {
            {L"%u.%02u", 1000, 100},      {L"%u.%06u", 180, 1000000}, {L"%u", 10000000, 1},
            {L"%u.%03u", 10000000, 1000}, {L"%u.%06u", 1, 1000},
        };
        const auto& kind = kKinds[random() % std::size(kKinds)];
        const unsigned whole = random() % kind.whole, fraction = random() % kind.fraction;
        wchar_t text[32];
        ::_snwprintf(text, std::size(text), kind.format, whole, fraction);
        texts.emplace_back(text);
    }
    return texts;
}

// The narrowing that from_chars needs: the text as char, as long as it is ASCII.
template <class T> T FromChars(const wchar_t* text)
{
    char narrow[64];
    size_t length = 0;
    for (; text[length] != 0 && length < sizeof narrow; ++length) narrow[length] = static_cast<char>(text[length]);
    T value = 0;
    std::from_chars(narrow, narrow + length, value);
    return value;
}

template <class T> T FromStream(const wchar_t* text)
{
    std::wistringstream stream(text);
    T value = 0;
    stream >> value;
    return value;
}

template <class T> using Reader = T (*)(const wchar_t* text);

// The required rounding at each digit can differ from the nearest value in the last bits; no more is let through.
template <class T> void CheckAll(const Texts& texts, const char* name, Reader<T> read)
{
    for (const std::wstring& text : texts) {
        const T nearest = FromChars<T>(text.c_str());
        if (std::abs(read(text.c_str()) - nearest) > 4 * std::numeric_limits<T>::epsilon() * nearest) {
            bench::Fail(std::string(name) + " reads a wrong number");
        }
    }
}

template <class T> class NumberBench
{
public:
    NumberBench(const Texts& texts, const char* title)
        : m_rTexts(texts), m_comparison(title, "ns a number", 1e9 / kTexts)
    {
    }

    // A template, so that every reader is inlined into its loop where the compiler can.
    template <Reader<T> Read> void Add(const char* name, const char* how)
    {
        CheckAll<T>(m_rTexts, name, Read);
        m_comparison.Add(name, how, [this, expected = SumAll<Read>()] { return SumAll<Read>() == expected; });
    }
    void Run() { m_comparison.Run(); }
    void Judge(const char* subject) const
    {
        const std::string job = std::string("numbers: ") + m_comparison.Results().title;
        bench::Judge(m_comparison.Results(), job, subject, "`std::from_chars`", bench::AtLeast(1.5));
        bench::Judge(m_comparison.Results(), job, subject, "`std::wcstod`", bench::AtLeast(20));
    }

private:
    template <Reader<T> Read> double SumAll() const
    {
        double sum = 0;
        for (const std::wstring& text : m_rTexts) sum += Read(text.c_str());
        return sum;
    }

    const Texts& m_rTexts;
    bench::Comparison m_comparison;
};

double OurDouble(const wchar_t* text)
{
    double value;
    return _ttod(text, value) == CONV_EMPTY ? value : -1;
}

float OurFloat(const wchar_t* text)
{
    float value;
    return _ttof(text, value) == CONV_OK ? value : -1;
}

double WideDouble(const wchar_t* text)
{
    return std::wcstod(text, nullptr);
}

float WideFloat(const wchar_t* text)
{
    return std::wcstof(text, nullptr);
}

float WideDoubleRounded(const wchar_t* text)
{
    return static_cast<float>(std::wcstod(text, nullptr));
}

double SystemDouble(const wchar_t* text)
{
    return ::_wtof(text);
}

} // namespace

int main(int argc, char** argv)
{
    bench::Start(argc, argv);
    const Texts texts = MakeTexts();
    bench::PrintText(
        "## Text to number\n\n"
        "65,536 different UTF-16 texts in random order: amounts (\"12.50\"), coordinates (\"52.520008\"), counts "
        "(\"1234567\"), both\n"
        "(\"1234567.891\") and small fractions (\"0.000123\"). All results are compared with the nearest value "
        "first.\n");

    NumberBench<double> doubles(texts, "Double precision");
    doubles.Add<OurDouble>("`_ttod`", "the text as it is");
    doubles.Add<FromChars<double>>("`std::from_chars`", "the text narrowed into an array first");
    doubles.Add<WideDouble>("`std::wcstod`", "the compiler's C library's");
    doubles.Add<SystemDouble>("`_wtof`", "the system's C library's");
    doubles.Add<FromStream<double>>("`std::wistringstream`", "one made for each text");
    doubles.Run();
    doubles.Judge("`_ttod`");

    NumberBench<float> floats(texts, "Single precision");
    floats.Add<OurFloat>("`_ttof`", "the text as it is");
    floats.Add<FromChars<float>>("`std::from_chars`", "the text narrowed into an array first");
    floats.Add<WideFloat>("`std::wcstof`", "the compiler's C library's");
    floats.Add<WideDoubleRounded>("`std::wcstod`", "the same library's, the result rounded");
    floats.Add<FromStream<float>>("`std::wistringstream`", "one made for each text");
    floats.Run();
    floats.Judge("`_ttof`");
}
