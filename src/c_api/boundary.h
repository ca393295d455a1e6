// The edge between C callers and the C++ library: no exception may cross
// it, and each failure leaves one line for exprcurve_last_error().
#ifndef EXPRCURVE_C_API_BOUNDARY_H
#define EXPRCURVE_C_API_BOUNDARY_H

#include <exception>
#include <new>
#include <string>

namespace exprcurve::c_api {

void setLastError(const std::string& message);
void clearLastError();

// Runs `body`, which returns the C function's result; an exception becomes
// `failure` and the thread's last error.
template <class Result, class Body>
Result guarded(Result failure, Body&& body) noexcept
{
    try {
        clearLastError();
        return body();
    } catch (const std::bad_alloc&) {
        setLastError("out of memory");
    } catch (const std::exception& error) {
        setLastError(error.what());
    } catch (...) {
        setLastError("unknown failure");
    }
    return failure;
}

// Records a failure and gives the C function's failure result.
template <class Result>
Result failWith(Result failure, const std::string& message)
{
    setLastError(message);
    return failure;
}

}  // namespace exprcurve::c_api

#endif  // EXPRCURVE_C_API_BOUNDARY_H
