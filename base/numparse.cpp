#include "base/numparse.h"

#include <ctype.h>

#include <cfloat>

namespace {

static_assert(FLT_EVAL_METHOD == 0, "single and double precision must not be computed with excess precision");

// What differs between the two precisions. kMaxTenth and kMinWeight are the limits that are tested before a digit is
// taken in and after a weight was used; kExactDigits is how many digits are exact in the type whatever they are.
template <class T> struct Precision;

template <> struct Precision<float>
{
    static constexpr double kMaxTenth = 3.4028234663852886e37;
    static constexpr float kMinWeight = 1.1754944e-37f;
    static constexpr unsigned kFractionDigits = 35;
    static constexpr unsigned kExactDigits = 7;
    static constexpr CONVERTION_ERRORS kComplete = CONV_OK;
};

template <> struct Precision<double>
{
    static constexpr double kMaxTenth = 1.7976931348623158e307;
    static constexpr double kMinWeight = 2.2250738585072014e-307;
    static constexpr unsigned kFractionDigits = 305;
    static constexpr unsigned kExactDigits = 9;
    static constexpr CONVERTION_ERRORS kComplete = CONV_EMPTY;
};

// The weights do not depend on the text: each is the one before, times 0.1, rounded.
template <class T> struct Weights
{
    T values[Precision<T>::kFractionDigits + 1] = {};

    constexpr Weights()
    {
        T weight = T(0.1);
        for (T& value : values) {
            value = weight;
            weight *= T(0.1);
        }
    }
};

template <class T> constexpr Weights<T> kWeights{};

// The first digit that does not pass is the one behind which the weight has fallen below the limit.
template <class T> constexpr bool IsFractionLimitRight()
{
    const T last = kWeights<T>.values[Precision<T>::kFractionDigits];
    return last >= Precision<T>::kMinWeight && last * T(0.1) < Precision<T>::kMinWeight;
}
static_assert(IsFractionLimitRight<float>() && IsFractionLimitRight<double>());

inline bool IsSpace(TCHAR ch)
{
    // The C library's table ends at 255. Printable ASCII is settled without asking it.
    return ch <= 255 && (ch <= L' ' || ch > L'~') && ::_isctype(ch, _SPACE) != 0;
}

inline unsigned Digit(TCHAR ch)
{
    return static_cast<unsigned>(ch) - L'0';
}

template <class T> CONVERTION_ERRORS Parse(const TCHAR* text, T& result)
{
    using P = Precision<T>;
    result = 0;
    if (text == nullptr) return CONV_EMPTY;
    while (IsSpace(*text)) ++text;
    if (*text == L'-' || *text == L'+') ++text;
    if (*text == 0) return CONV_EMPTY;

    // The first digits in integers: the same values, as all of them are exact in T, in a third of the time.
    int whole = 0;
    unsigned digit = Digit(*text);
    for (unsigned taken = 0; digit <= 9 && taken < P::kExactDigits; ++taken) {
        whole = whole * 10 + static_cast<int>(digit);
        digit = Digit(*++text);
    }
    T value = static_cast<T>(whole);
    for (; digit <= 9; digit = Digit(*++text)) {
        if (value > P::kMaxTenth) return CONV_OVERFLOW;
        value = value * 10 + static_cast<T>(static_cast<int>(digit));
    }

    if (*text == L'.') {
        unsigned position = 0;
        for (digit = Digit(*++text); digit <= 9; digit = Digit(*++text)) {
            if (position == P::kFractionDigits) return CONV_UNDERFLOW;
            value += static_cast<T>(static_cast<int>(digit)) * kWeights<T>.values[position++];
        }
    }
    if (*text != 0) return CONV_BAD_CHAR;
    result = value;
    return P::kComplete;
}

} // namespace

CONVERTION_ERRORS _ttod(const TCHAR* text, double& result)
{
    return Parse(text, result);
}

CONVERTION_ERRORS _ttof(const TCHAR* text, float& result)
{
    return Parse(text, result);
}
