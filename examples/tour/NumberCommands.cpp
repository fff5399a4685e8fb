#include "examples/tour/Tour.h"

#include <cmath>

namespace Tour {

void Clamp(CXParam* params, CXResult* result) {
    const double value = params[0].GetNativeReal();
    const double low = params[1].GetNativeReal();
    const double high = params[2].GetNativeReal();
    const double clamped = value < low ? low : value > high ? high : value;
    params[0].SetNativeReal(clamped);
    result->SetBoolean(clamped != value ? 1 : 0);
}

void RoundReal(CXParam* params, CXResult* result) {
    REAL_U real;
    params[0].GetREAL(&real);
    const double scale = std::pow(10.0, params[1].GetShort());
    const double rounded = std::round(real.value * scale) / scale;
    // A scale or a product past what a real holds leaves the value as it is.
    if (std::isfinite(rounded)) {
        real.value = rounded;
    }
    result->SetExtended(&real);
}

void Percent(CXParam* params, CXResult* result) {
    const double whole = params[1].GetNativeReal();
    const double percent = whole != 0 ? std::round(params[0].GetNativeReal() * 100 / whole) : 0;
    const bool fits = percent >= -32768 && percent <= 32767;
    result->SetShort(fits ? static_cast<short>(percent) : short{0});
}

} // namespace Tour
