#include "PlainLevel.h"

#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cmath>

using Tarsel::Proc::AudioLevelInfo;
using Tarsel::Proc::SampleTraits;

template <class T>
AudioLevelInfo EstimateLevelPlainly(T const* samples, std::size_t count) {
    double peak = 0;
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        double const v = SampleTraits<T>::ToReal(samples[i]);
        if (peak < v)
            peak = v;
        sum = std::fma(v, v, sum);
    }
    return {peak, std::sqrt(sum / static_cast<double>(count))};
}

template AudioLevelInfo EstimateLevelPlainly(unsigned char const*, std::size_t);
template AudioLevelInfo EstimateLevelPlainly(short const*, std::size_t);
template AudioLevelInfo EstimateLevelPlainly(int const*, std::size_t);
template AudioLevelInfo EstimateLevelPlainly(float const*, std::size_t);
template AudioLevelInfo EstimateLevelPlainly(double const*, std::size_t);

#if defined(__x86_64__)
__attribute__((target("fma"))) static double ChainOfFusedAdds(double v, std::size_t count) {
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum = std::fma(v, v, sum);
    return sum;
}

double ChainOfFma(double v, std::size_t count) {
    return __builtin_cpu_supports("fma") ? ChainOfFusedAdds(v, count) : 0;
}
#else
double ChainOfFma(double v, std::size_t count) {
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum = std::fma(v, v, sum);
    return sum;
}
#endif
