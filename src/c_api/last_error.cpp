#include <string>

#include "boundary.h"
#include "exprcurve.h"

namespace exprcurve::c_api {

namespace {

// Per thread, like errno, so that threads sampling curves at once do not
// read each other's failures. Assigning may itself run out of memory: the
// message then stays empty rather than escaping as an exception.
thread_local std::string lastError;

}  // namespace

void setLastError(const std::string& message)
{
    try {
        lastError = message;
    } catch (...) {
        lastError.clear();
    }
}

void clearLastError()
{
    lastError.clear();
}

}  // namespace exprcurve::c_api

extern "C" const char* exprcurve_last_error(void)
{
    return exprcurve::c_api::lastError.c_str();
}
