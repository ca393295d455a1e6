// The C interface when memory runs out: every call that allocates is made to
// fail at its first allocation, then its second, and so on until it succeeds.
// Each failure must come back as null or 0 with "out of memory" (never as an
// exception or a crash), leave the handles usable, and lose nothing.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "exprcurve.h"

namespace {

// Allocations left before the next one fails; negative: no limit. Only the
// test's own thread sets it, and only around the one call under test.
long allocationsLeft = -1;
bool allocationRefused = false;

void* allocate(std::size_t size)
{
    if (allocationsLeft == 0) {
        allocationRefused = true;
        return nullptr;
    }
    if (allocationsLeft > 0)
        --allocationsLeft;
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

// Every form the library can reach, so that malloc and free pair up for the
// memory checkers whichever form allocates or frees.
void* operator new(std::size_t size)
{
    if (void* memory = allocate(size))
        return memory;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace {

std::string scratchFile(const std::string& name, const char* extension)
{
    return ::testing::TempDir() + "exprcurve_oom_" + name + "_" + std::to_string(::getpid())
           + extension;
}

struct Fixture {
    double x = 0.5;
    exprcurve_parser* parser = exprcurve_parser_new();
    exprcurve_expression* expression = nullptr;
    exprcurve_curve* curve = exprcurve_curve_new();
    std::string textFile;
    std::string binaryFile;

    // CTest runs the cases as processes of their own, several at once: each
    // writes files of its own.
    explicit Fixture(const std::string& name)
        : textFile(scratchFile(name, ".curve")), binaryFile(scratchFile(name, ".kvb"))
    {
        exprcurve_parser_bind_double(parser, "x", &x);
        expression = exprcurve_parse(parser, "2*x+sin(x)");
        for (int i = 0; i < 40; ++i)
            exprcurve_curve_add_point(curve, i * 0.25, i % 7, i % 4);
        exprcurve_curve_save(curve, textFile.c_str(), 0);
        exprcurve_curve_save(curve, binaryFile.c_str(), 3027);
    }
    ~Fixture()
    {
        exprcurve_expression_free(expression);
        exprcurve_parser_free(parser);
        exprcurve_curve_free(curve);
        std::remove(textFile.c_str());
        std::remove(binaryFile.c_str());
    }
};

double twice(const double* arguments, void*)
{
    return 2 * arguments[0];
}

struct Call {
    const char* name;
    // Makes the call; true when it reports success. Anything it made is freed.
    std::function<bool(Fixture&)> attempt;
    // After a failure: what must still hold (nothing lost, handles usable).
    std::function<void(Fixture&)> unchanged;
};

const Call calls[] = {
    {"parser_new", [](Fixture&) {
         exprcurve_parser* parser = exprcurve_parser_new();
         exprcurve_parser_free(parser);
         return parser != nullptr;
     }, nullptr},
    {"bind_double", [](Fixture& f) {
         static double y = 3.0;
         return exprcurve_parser_bind_double(f.parser, "y", &y) == 1;
     }, [](Fixture& f) { EXPECT_EQ(exprcurve_evaluate(f.expression), 2 * 0.5 + std::sin(0.5)); }},
    {"define_function", [](Fixture& f) {
         return exprcurve_parser_define_function(f.parser, "twice", 1, twice, nullptr) == 1;
     }, nullptr},
    {"parse", [](Fixture& f) {
         exprcurve_expression* expression = exprcurve_parse(f.parser, "max(x,2)*3+foo(");
         const bool made = expression != nullptr && exprcurve_fault_count(expression) > 0;
         exprcurve_expression_free(expression);
         return made;
     }, nullptr},
    {"evaluate_batch", [](Fixture& f) {
         const double xs[3] = {1.0, 2.0, 3.0};
         double results[3];
         const exprcurve_column column = {&f.x, xs};
         return exprcurve_evaluate_batch(f.expression, 3, &column, 1, results) == 1
                && results[2] == 2 * 3.0 + std::sin(3.0);
     }, [](Fixture& f) { EXPECT_EQ(f.x, 0.5); }},
    {"curve_new", [](Fixture&) {
         exprcurve_curve* curve = exprcurve_curve_new();
         exprcurve_curve_free(curve);
         return curve != nullptr;
     }, nullptr},
    {"curve_add_point", [](Fixture& f) {
         const std::size_t before = exprcurve_curve_point_count(f.curve);
         exprcurve_curve_add_point(f.curve, 2.5, 1.0, EXPRCURVE_LINEAR);
         const bool added = exprcurve_curve_point_count(f.curve) == before + 1;
         if (added)
             exprcurve_curve_remove_point(f.curve, exprcurve_curve_point_count(f.curve) - 1);
         return added;
     }, [](Fixture& f) { EXPECT_EQ(exprcurve_curve_point_count(f.curve), 40u); }},
    {"curve_copy", [](Fixture& f) {
         exprcurve_curve* copy = exprcurve_curve_copy(f.curve);
         const bool made = copy != nullptr && exprcurve_curve_point_count(copy) == 40;
         exprcurve_curve_free(copy);
         return made;
     }, nullptr},
    {"curve_compile", [](Fixture& f) {
         exprcurve_compiled_curve* compiled = exprcurve_curve_compile(f.curve);
         const bool made = compiled != nullptr
                           && exprcurve_compiled_curve_evaluate(compiled, 3.1)
                                  == exprcurve_curve_evaluate(f.curve, 3.1);
         exprcurve_compiled_curve_free(compiled);
         return made;
     }, nullptr},
    {"curve_save_text", [](Fixture& f) {
         return exprcurve_curve_save(f.curve, f.textFile.c_str(), 0) == 1;
     }, nullptr},
    {"curve_load_text", [](Fixture& f) {
         exprcurve_curve* loaded = exprcurve_curve_new();
         const bool read = exprcurve_curve_load(loaded, f.textFile.c_str(), 0) == 1
                           && exprcurve_curve_point_count(loaded) == 40;
         exprcurve_curve_free(loaded);
         return read;
     }, nullptr},
    {"curve_load_binary", [](Fixture& f) {
         exprcurve_curve* loaded = exprcurve_curve_new();
         const bool read = exprcurve_curve_load(loaded, f.binaryFile.c_str(), 3027) == 1
                           && exprcurve_curve_point_count(loaded) == 40;
         exprcurve_curve_free(loaded);
         return read;
     }, nullptr},
};

// valgrind puts its own allocator in place of every operator new, this
// program's included; then nothing here can refuse memory.
bool refusingAllocatorInUse()
{
    static int* volatile probe;
    allocationRefused = false;
    allocationsLeft = 0;
    probe = new (std::nothrow) int;
    allocationsLeft = -1;
    delete probe;
    return allocationRefused;
}

class OutOfMemory : public ::testing::TestWithParam<Call> {};

TEST_P(OutOfMemory, FailsWithNullOrZeroUntilMemorySuffices)
{
    if (!refusingAllocatorInUse())
        GTEST_SKIP() << "the process's allocator is not this program's";
    const Call& call = GetParam();
    Fixture fixture(call.name);
    ASSERT_NE(fixture.expression, nullptr);
    long budget = 0;
    for (;; ++budget) {
        ASSERT_LT(budget, 100000) << "never succeeds";
        allocationRefused = false;
        allocationsLeft = budget;
        const bool succeeded = call.attempt(fixture);
        allocationsLeft = -1;
        if (succeeded)
            break;
        ASSERT_TRUE(allocationRefused) << "failed with memory to spare at " << budget;
        EXPECT_STREQ(exprcurve_last_error(), "out of memory") << "at allocation " << budget;
        if (call.unchanged)
            call.unchanged(fixture);
    }
    EXPECT_GT(budget, 0) << "the call allocates nothing, so this checks nothing";
}

INSTANTIATE_TEST_SUITE_P(CApi, OutOfMemory, ::testing::ValuesIn(calls),
                         [](const ::testing::TestParamInfo<Call>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace
