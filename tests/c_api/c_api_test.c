/* The C interface, compiled as C99: `c_api_tests [GROUP [DIRECTORY]]` runs
 * one group of checks (all by default), writing its files in DIRECTORY (the
 * temporary directory by default), and exits non-zero when any fails. */
#define _POSIX_C_SOURCE 200809L

#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "exprcurve.h"

static int failures = 0;

#define CHECK(condition)                                                              \
    do {                                                                              \
        if (!(condition)) {                                                           \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            ++failures;                                                               \
        }                                                                             \
    } while (0)

/* Bit for bit, so that -0.0 and 0.0 differ and NaN equals NaN. */
static int same_bits(double a, double b)
{
    return memcmp(&a, &b, sizeof a) == 0;
}

#define CHECK_SAME(actual, expected)                                                     \
    do {                                                                                 \
        double actual_ = (actual), expected_ = (expected);                               \
        if (!same_bits(actual_, expected_)) {                                            \
            fprintf(stderr, "%s:%d: %s is %.17g, expected %.17g\n", __FILE__, __LINE__, \
                    #actual, actual_, expected_);                                        \
            ++failures;                                                                  \
        }                                                                                \
    } while (0)

static double parse_and_evaluate(exprcurve_parser* parser, const char* text)
{
    exprcurve_expression* expression = exprcurve_parse(parser, text);
    double value;
    CHECK(expression != NULL);
    value = exprcurve_evaluate(expression);
    exprcurve_expression_free(expression);
    return value;
}

static void expressions(void)
{
    double x = 0.1;
    float gain = 0.1f;
    int count = 3;
    bool on = true;
    exprcurve_parser* parser = exprcurve_parser_new();
    exprcurve_expression* expression;

    CHECK(exprcurve_parser_bind_double(parser, "X", &x)); /* names are lower-cased */
    CHECK(exprcurve_parser_bind_float(parser, "gain", &gain));
    CHECK(exprcurve_parser_bind_int(parser, "count", &count));
    CHECK(exprcurve_parser_bind_bool(parser, "on", &on));

    expression = exprcurve_parse(parser, "2*x + max(x, 1)");
    CHECK(expression != NULL);
    CHECK(exprcurve_fault_count(expression) == 0);
    CHECK(strcmp(exprcurve_expression_text(expression), "2*x+max(x,1)") == 0);
    CHECK_SAME(exprcurve_evaluate(expression), 2 * 0.1 + 1.0);
    x = 3.5; /* the expression reads the variable anew */
    CHECK_SAME(exprcurve_evaluate(expression), 2 * 3.5 + 3.5);

    /* Each kind of variable, read as the library reads it. */
    CHECK_SAME(parse_and_evaluate(parser, "gain*count"), (double)0.1f * 3.0);
    CHECK_SAME(parse_and_evaluate(parser, "on+count"), 4.0);
    /* The language's own grouping survives the interface. */
    CHECK_SAME(parse_and_evaluate(parser, "8/4/2"), 4.0);
    CHECK_SAME(parse_and_evaluate(parser, "2^-1"), 0.0);
    CHECK_SAME(parse_and_evaluate(parser, "2x"), 7.0);

    /* Binding a taken name, a constant included, fails and says why. */
    CHECK(!exprcurve_parser_bind_double(parser, "x", &x));
    CHECK(strstr(exprcurve_last_error(), "'x'") != NULL);
    CHECK(!exprcurve_parser_bind_double(parser, "pi", &x));

    /* After unbinding, old expressions still read the variable, new ones
     * see an unknown name. */
    CHECK(exprcurve_parser_unbind(parser, "x"));
    CHECK(!exprcurve_parser_unbind(parser, "x"));
    CHECK_SAME(parse_and_evaluate(parser, "x+1"), 1.0);
    x = 1.0;
    CHECK_SAME(exprcurve_evaluate(expression), 2 * 1.0 + 1.0);

    /* An expression outlives its parser. */
    exprcurve_parser_free(parser);
    x = 2.0;
    CHECK_SAME(exprcurve_evaluate(expression), 2 * 2.0 + 2.0);
    exprcurve_expression_free(expression);
}

/* A batch gives each row's own evaluation, reads unlisted variables, writes
 * no variable, and neither depends on native code. */
static void batches(void)
{
    enum { ROWS = 37 };
    double x = 0.5, xs[ROWS], results[ROWS];
    float y = 2.0f, ys[ROWS];
    int n = 7;
    exprcurve_column columns[2];
    exprcurve_parser* parser = exprcurve_parser_new();
    exprcurve_expression* forms[2];
    int form, row;

    CHECK(exprcurve_parser_bind_double(parser, "x", &x));
    CHECK(exprcurve_parser_bind_float(parser, "y", &y));
    CHECK(exprcurve_parser_bind_int(parser, "n", &n));
    for (row = 0; row < ROWS; ++row) {
        xs[row] = (row - 18) * 0.37;
        ys[row] = (float)row / 3.0f;
    }
    columns[0].variable = &x;
    columns[0].values = xs;
    columns[1].variable = &y;
    columns[1].values = ys;
    forms[0] = exprcurve_parse(parser, "if(x>0,sqrt(x),x^2)*y-n/x+sin(y)");
    exprcurve_set_native_code_allowed(0);
    forms[1] = exprcurve_parse(parser, "if(x>0,sqrt(x),x^2)*y-n/x+sin(y)");
    exprcurve_set_native_code_allowed(1);
    CHECK(!exprcurve_expression_uses_native_code(forms[1]));

    for (form = 0; form < 2; ++form) {
        CHECK(exprcurve_evaluate_batch(forms[form], ROWS, columns, 2, results));
        CHECK(x == 0.5 && y == 2.0f);
        for (row = 0; row < ROWS; ++row) {
            x = xs[row];
            y = ys[row];
            CHECK_SAME(results[row], exprcurve_evaluate(forms[form]));
        }
        x = 0.5;
        y = 2.0f;
    }
    CHECK(exprcurve_evaluate_batch(forms[0], 0, NULL, 0, NULL));
    CHECK(!exprcurve_evaluate_batch(NULL, ROWS, columns, 2, results));
    exprcurve_expression_free(forms[0]);
    exprcurve_expression_free(forms[1]);
    exprcurve_parser_free(parser);
}

static double lerp(const double* arguments, void* context)
{
    ++*(int*)context;
    return arguments[0] + (arguments[1] - arguments[0]) * arguments[2];
}

static double twice(const double* arguments, void* context)
{
    (void)context;
    return 2.0 * arguments[0];
}

static void host_functions(void)
{
    enum { ROWS = 9 };
    int calls = 0, row;
    double x = 0.25, xs[ROWS], results[ROWS];
    exprcurve_column column;
    exprcurve_parser* parser = exprcurve_parser_new();
    exprcurve_expression* expression;
    exprcurve_expression* redefined;

    CHECK(exprcurve_parser_bind_double(parser, "x", &x));
    CHECK(exprcurve_parser_define_function(parser, "Lerp", 3, lerp, &calls));
    expression = exprcurve_parse(parser, "lerp(x,2,0.5)-lerp(0,10,x)");
    CHECK(exprcurve_fault_count(expression) == 0);
    CHECK_SAME(exprcurve_evaluate(expression), (0.25 + (2 - 0.25) * 0.5) - 10 * 0.25);
    CHECK(calls == 2);

    /* Refused: a built-in's name, a name the text cannot call, too many
     * arguments, no function. */
    CHECK(!exprcurve_parser_define_function(parser, "sin", 1, twice, NULL));
    CHECK(!exprcurve_parser_define_function(parser, "2x", 1, twice, NULL));
    CHECK(!exprcurve_parser_define_function(parser, "many", 9, twice, NULL));
    CHECK(!exprcurve_parser_define_function(parser, "none", 1, NULL, NULL));

    /* Redefining changes later texts only. */
    CHECK(exprcurve_parser_define_function(parser, "lerp", 1, twice, NULL));
    redefined = exprcurve_parse(parser, "lerp(x)");
    CHECK_SAME(exprcurve_evaluate(redefined), 0.5);
    CHECK_SAME(exprcurve_evaluate(expression), (0.25 + (2 - 0.25) * 0.5) - 10 * 0.25);

    /* A batch calls the function per row, as row-by-row evaluation does. */
    for (row = 0; row < ROWS; ++row)
        xs[row] = row * 0.125 - 0.5;
    column.variable = &x;
    column.values = xs;
    CHECK(exprcurve_evaluate_batch(expression, ROWS, &column, 1, results));
    CHECK(x == 0.25);
    for (row = 0; row < ROWS; ++row) {
        x = xs[row];
        CHECK_SAME(results[row], exprcurve_evaluate(expression));
    }

    CHECK(exprcurve_parser_remove_function(parser, "LERP"));
    CHECK(!exprcurve_parser_remove_function(parser, "lerp"));
    exprcurve_expression_free(redefined);
    redefined = exprcurve_parse(parser, "lerp(x)");
    CHECK(exprcurve_fault_count(redefined) == 1);
    exprcurve_expression_free(redefined);
    exprcurve_expression_free(expression);
    exprcurve_parser_free(parser);
}

static void faults(void)
{
    exprcurve_parser* parser = exprcurve_parser_new();
    exprcurve_expression* expression = exprcurve_parse(parser, "Foo + bar*2");
    CHECK(exprcurve_fault_count(expression) == 2);
    CHECK_SAME(exprcurve_evaluate(expression), 0.0); /* faulty parts read as 0 */
    /* Ranges in the text as typed, white space and capitals included. */
    CHECK(exprcurve_fault_position(expression, 0) == 0 && exprcurve_fault_length(expression, 0) == 3);
    CHECK(exprcurve_fault_position(expression, 1) == 6 && exprcurve_fault_length(expression, 1) == 3);
    CHECK(exprcurve_fault_message(expression, 1) != NULL &&
          strstr(exprcurve_fault_message(expression, 1), "bar") != NULL);
    CHECK(exprcurve_fault_message(expression, 2) == NULL);
    CHECK(exprcurve_fault_position(expression, 2) == -1);
    exprcurve_expression_free(expression);

    expression = exprcurve_parse(parser, "");
    CHECK(expression != NULL && exprcurve_fault_count(expression) == 0);
    exprcurve_expression_free(expression);

    /* Null handles are refused, never dereferenced. */
    CHECK(exprcurve_parse(NULL, "1") == NULL);
    CHECK(exprcurve_parse(parser, NULL) == NULL);
    CHECK(exprcurve_last_error()[0] != '\0');
    CHECK(isnan(exprcurve_evaluate(NULL)));
    CHECK(exprcurve_fault_count(NULL) == 0);
    CHECK(!exprcurve_parser_bind_double(parser, NULL, NULL));
    exprcurve_parser_free(NULL);
    exprcurve_expression_free(NULL);
    exprcurve_curve_free(NULL);
    exprcurve_parser_free(parser);
}

/* A curve with every kind of segment and points at awkward values. */
static exprcurve_curve* every_kind_curve(int pre, int post)
{
    exprcurve_curve* curve = exprcurve_curve_new();
    exprcurve_point point = {0};
    exprcurve_curve_add_point(curve, 0.0, 0.1, EXPRCURVE_BEZIER);
    exprcurve_curve_add_point(curve, 1.0 / 3.0, 2.0, EXPRCURVE_LINEAR);
    point.time = 1.25;
    point.value = -1.0 / 7.0;
    point.left_slope = 0.3;
    point.right_slope = -2.5;
    point.type = EXPRCURVE_BEZIER;
    CHECK(exprcurve_curve_insert_point(curve, &point));
    point.time = 2.0;
    point.value = 1e-300;
    point.tension = 0.25;
    point.continuity = -0.5;
    point.bias = 0.125;
    point.ease_from = 0.5;
    point.ease_to = 0.75;
    point.type = EXPRCURVE_TCB;
    point.flag = 1;
    CHECK(exprcurve_curve_insert_point(curve, &point));
    exprcurve_curve_add_point(curve, 3.0, 4.0, EXPRCURVE_TCB);
    exprcurve_curve_add_point(curve, 3.5, -0.0, EXPRCURVE_STEP);
    exprcurve_curve_set_modes(curve, pre, post);
    return curve;
}

#define TIME_COUNT 64
static void fill_times(double* times)
{
    int i;
    for (i = 0; i < TIME_COUNT; ++i) /* -4 .. 8, scattered, ends included */
        times[i] = -4.0 + 12.0 * (double)((i * 37) % TIME_COUNT) / (TIME_COUNT - 1);
}

static void curves(void)
{
    exprcurve_curve* curve = exprcurve_curve_new();
    exprcurve_curve* copy;
    exprcurve_point point;
    double times[TIME_COUNT], values[TIME_COUNT];
    int pre, post, i;

    /* The smallest curve: an empty one answers its default value. */
    CHECK_SAME(exprcurve_curve_evaluate(curve, 5.0), 0.0);
    exprcurve_curve_set_default_value(curve, 2.5);
    CHECK_SAME(exprcurve_curve_evaluate(curve, 5.0), 2.5);
    CHECK_SAME(exprcurve_curve_default_value(curve), 2.5);

    exprcurve_curve_add_point(curve, 1.0, 10.0, EXPRCURVE_LINEAR);
    exprcurve_curve_add_point(curve, 0.0, 0.0, EXPRCURVE_LINEAR);
    CHECK(exprcurve_curve_point_count(curve) == 2);
    CHECK_SAME(exprcurve_curve_evaluate(curve, 0.25), 2.5);
    CHECK(exprcurve_curve_get_point(curve, 0, &point) && point.time == 0.0);
    CHECK(!exprcurve_curve_get_point(curve, 2, &point));

    /* A point at an existing time goes before it. */
    exprcurve_curve_add_point(curve, 1.0, 20.0, EXPRCURVE_STEP);
    CHECK(exprcurve_curve_get_point(curve, 1, &point) && point.value == 20.0 &&
          point.type == EXPRCURVE_STEP && point.flag == 0);
    CHECK(exprcurve_curve_remove_point(curve, 1));
    CHECK(!exprcurve_curve_remove_point(curve, 2));
    CHECK(exprcurve_curve_point_count(curve) == 2);

    /* A copy is independent of its source, and keeps points at equal times
     * in their order. */
    exprcurve_curve_add_point(curve, 1.0, 30.0, EXPRCURVE_LINEAR);
    copy = exprcurve_curve_copy(curve);
    CHECK(exprcurve_curve_get_point(copy, 1, &point) && point.value == 30.0);
    CHECK(exprcurve_curve_remove_point(copy, 1));
    exprcurve_curve_clear(curve);
    CHECK(exprcurve_curve_point_count(curve) == 0);
    CHECK_SAME(exprcurve_curve_evaluate(copy, 0.25), 2.5);
    CHECK_SAME(exprcurve_curve_default_value(copy), 2.5);
    exprcurve_curve_free(copy);
    exprcurve_curve_free(curve);

    /* Sampling gives each time's own evaluation, for every pair of modes,
     * also in place. */
    fill_times(times);
    for (pre = EXPRCURVE_MODE_ZERO; pre <= EXPRCURVE_MODE_LINEAR; ++pre) {
        for (post = EXPRCURVE_MODE_ZERO; post <= EXPRCURVE_MODE_LINEAR; ++post) {
            curve = every_kind_curve(pre, post);
            CHECK(exprcurve_curve_pre_mode(curve) == pre);
            CHECK(exprcurve_curve_post_mode(curve) == post);
            exprcurve_curve_sample(curve, times, values, TIME_COUNT);
            for (i = 0; i < TIME_COUNT; ++i)
                CHECK_SAME(values[i], exprcurve_curve_evaluate(curve, times[i]));
            memcpy(values, times, sizeof times);
            exprcurve_curve_sample(curve, values, values, TIME_COUNT);
            for (i = 0; i < TIME_COUNT; ++i)
                CHECK_SAME(values[i], exprcurve_curve_evaluate(curve, times[i]));
            exprcurve_curve_free(curve);
        }
    }
    exprcurve_curve_sample(NULL, times, values, TIME_COUNT);
    CHECK(exprcurve_last_error()[0] != '\0');
}

/* Bit for bit, except that any NaN equals any NaN: two code paths may pick
 * either operand's payload where two NaNs meet. */
static int same_value(double a, double b)
{
    return same_bits(a, b) || (isnan(a) && isnan(b));
}

/* The runtime form answers as the curve stood, with or without a hint. */
static void compiled_curves(void)
{
    double times[TIME_COUNT], values[TIME_COUNT], expected[TIME_COUNT];
    size_t hints[] = {0, 3, (size_t)-1};
    int pre, post, i, h;
    for (pre = EXPRCURVE_MODE_ZERO; pre <= EXPRCURVE_MODE_LINEAR; ++pre) {
        for (post = EXPRCURVE_MODE_ZERO; post <= EXPRCURVE_MODE_LINEAR; ++post) {
            exprcurve_curve* curve = every_kind_curve(pre, post);
            exprcurve_compiled_curve* compiled = exprcurve_curve_compile(curve);
            CHECK(exprcurve_compiled_curve_point_count(compiled) == 6);
            fill_times(times);
            for (i = 0; i < TIME_COUNT; ++i)
                expected[i] = exprcurve_curve_evaluate(curve, times[i]);
            exprcurve_curve_clear(curve); /* the snapshot does not see it */
            exprcurve_compiled_curve_sample(compiled, times, values, TIME_COUNT);
            for (i = 0; i < TIME_COUNT; ++i) {
                CHECK(same_value(values[i], expected[i]));
                CHECK(same_value(exprcurve_compiled_curve_evaluate(compiled, times[i]), expected[i]));
                for (h = 0; h < 3; ++h)
                    CHECK(same_value(exprcurve_compiled_curve_evaluate_hinted(compiled, times[i], &hints[h]),
                                     expected[i]));
            }
            CHECK(exprcurve_compiled_curve_rebuild(compiled, curve));
            CHECK(exprcurve_compiled_curve_point_count(compiled) == 0);
            CHECK_SAME(exprcurve_compiled_curve_evaluate(compiled, 1.0), 0.0);
            exprcurve_compiled_curve_free(compiled);
            exprcurve_curve_free(curve);
        }
    }
    CHECK(exprcurve_curve_compile(NULL) == NULL);
    CHECK(isnan(exprcurve_compiled_curve_evaluate_hinted(NULL, 0.0, &hints[0])));
    exprcurve_compiled_curve_free(NULL);
}

static int same_points(const exprcurve_curve* a, const exprcurve_curve* b)
{
    size_t i;
    exprcurve_point pa, pb;
    if (exprcurve_curve_point_count(a) != exprcurve_curve_point_count(b))
        return 0;
    for (i = 0; i < exprcurve_curve_point_count(a); ++i) {
        if (!exprcurve_curve_get_point(a, i, &pa) || !exprcurve_curve_get_point(b, i, &pb))
            return 0;
        if (memcmp(&pa, &pb, sizeof pa) != 0)
            return 0;
    }
    return exprcurve_curve_pre_mode(a) == exprcurve_curve_pre_mode(b) &&
           exprcurve_curve_post_mode(a) == exprcurve_curve_post_mode(b);
}

static void files(const char* directory)
{
    char path[4096];
    exprcurve_curve* saved = every_kind_curve(EXPRCURVE_MODE_CYCLE, EXPRCURVE_MODE_LINEAR);
    exprcurve_curve* loaded = exprcurve_curve_new();
    FILE* file;
    long size;

    /* Text and binary files load back bit for bit. */
    snprintf(path, sizeof path, "%s/c_api_round_trip_%ld.curve", directory, (long)getpid());
    CHECK(exprcurve_curve_save(saved, path, 0));
    CHECK(exprcurve_curve_load(loaded, path, 0));
    CHECK(same_points(saved, loaded));

    snprintf(path, sizeof path, "%s/c_api_round_trip_%ld.kvb", directory, (long)getpid());
    CHECK(exprcurve_curve_save(saved, path, 3027));
    exprcurve_curve_clear(loaded);
    CHECK(exprcurve_curve_load(loaded, path, 3027));
    CHECK(same_points(saved, loaded));

    /* 6 points of 9 doubles and 2 ints, the count, two modes and a flag. */
    file = fopen(path, "rb");
    CHECK(file != NULL && fseek(file, 0, SEEK_END) == 0);
    size = file ? ftell(file) : -1;
    CHECK(size == 4 + 6 * (9 * 8 + 2 * 4) + 2 * 4 + 1);
    if (file)
        fclose(file);

    /* A number the text reader refuses is not written as text; binary keeps it. */
    exprcurve_curve_add_point(saved, 9.0, INFINITY, EXPRCURVE_LINEAR);
    CHECK(!exprcurve_curve_save(saved, path, 0));
    CHECK(strstr(exprcurve_last_error(), "binary") != NULL);
    CHECK(exprcurve_curve_save(saved, path, 3027));
    exprcurve_curve_clear(loaded);
    CHECK(exprcurve_curve_load(loaded, path, 3027) && same_points(saved, loaded));
    CHECK(exprcurve_curve_remove_point(saved, 6));

    /* The binary save writes only the newest layout. */
    CHECK(!exprcurve_curve_save(saved, path, 3026));
    CHECK(strstr(exprcurve_last_error(), "3026") != NULL);

    /* A cut file fails and keeps the points read before the cut. */
    file = fopen(path, "r+b");
    CHECK(file != NULL);
    if (file) {
        CHECK(ftruncate(fileno(file), 4 + 2 * (9 * 8 + 2 * 4) + 10) == 0);
        fclose(file);
    }
    CHECK(!exprcurve_curve_load(loaded, path, 3027));
    CHECK(exprcurve_curve_point_count(loaded) == 2);
    CHECK(strstr(exprcurve_last_error(), "not a complete") != NULL);

    snprintf(path, sizeof path, "%s/no/such/dir/x.curve", directory);
    CHECK(!exprcurve_curve_load(loaded, path, 0));
    CHECK(strstr(exprcurve_last_error(), path) != NULL);
    CHECK(!exprcurve_curve_save(saved, path, 0));
    CHECK(!exprcurve_curve_load(NULL, path, 0));
    snprintf(path, sizeof path, "%s/c_api_round_trip_%ld.curve", directory, (long)getpid());
    remove(path);
    snprintf(path, sizeof path, "%s/c_api_round_trip_%ld.kvb", directory, (long)getpid());
    remove(path);

    exprcurve_curve_free(saved);
    exprcurve_curve_free(loaded);
}

struct sampler {
    const exprcurve_curve* curve;
    const exprcurve_expression* expression;
    const exprcurve_column* column; /* the times as x */
    const double* expected;         /* the curve at the times */
    const double* expected_rows;    /* the expression at the times */
    double expected_value;
    int mismatches;
};

static void* sample_repeatedly(void* argument)
{
    struct sampler* job = argument;
    double times[TIME_COUNT], values[TIME_COUNT];
    int round, i;
    fill_times(times);
    for (round = 0; round < 200; ++round) {
        exprcurve_curve_sample(job->curve, times, values, TIME_COUNT);
        for (i = 0; i < TIME_COUNT; ++i)
            job->mismatches += !same_bits(values[i], job->expected[i]);
        exprcurve_evaluate_batch(job->expression, TIME_COUNT, job->column, 1, values);
        for (i = 0; i < TIME_COUNT; ++i)
            job->mismatches += !same_bits(values[i], job->expected_rows[i]);
        job->mismatches += !same_bits(exprcurve_evaluate(job->expression), job->expected_value);
    }
    return NULL;
}

/* Several threads sample one curve and evaluate one expression, alone and in
 * batches, at once. */
static void concurrency(void)
{
    enum { THREADS = 4 };
    exprcurve_curve* curve = every_kind_curve(EXPRCURVE_MODE_CYCLE_OFFSET, EXPRCURVE_MODE_CYCLE);
    double x = 0.75;
    exprcurve_parser* parser = exprcurve_parser_new();
    exprcurve_expression* expression;
    double times[TIME_COUNT], expected[TIME_COUNT], expected_rows[TIME_COUNT];
    exprcurve_column column;
    pthread_t threads[THREADS];
    struct sampler jobs[THREADS];
    int i;

    CHECK(exprcurve_parser_bind_double(parser, "x", &x));
    expression = exprcurve_parse(parser, "sin(x)*x+sqrt(x)");
    fill_times(times);
    for (i = 0; i < TIME_COUNT; ++i) {
        expected[i] = exprcurve_curve_evaluate(curve, times[i]);
        x = times[i];
        expected_rows[i] = exprcurve_evaluate(expression);
    }
    x = 0.75;
    column.variable = &x;
    column.values = times;
    for (i = 0; i < THREADS; ++i) {
        struct sampler job = {0};
        job.curve = curve;
        job.expression = expression;
        job.column = &column;
        job.expected = expected;
        job.expected_rows = expected_rows;
        job.expected_value = exprcurve_evaluate(expression);
        jobs[i] = job;
        CHECK(pthread_create(&threads[i], NULL, sample_repeatedly, &jobs[i]) == 0);
    }
    for (i = 0; i < THREADS; ++i) {
        CHECK(pthread_join(threads[i], NULL) == 0);
        CHECK(jobs[i].mismatches == 0);
    }
    exprcurve_expression_free(expression);
    exprcurve_parser_free(parser);
    exprcurve_curve_free(curve);
}

int main(int argc, char** argv)
{
    /* Options of other test programs (valgrind-tests.sh passes gtest's) are
     * no group and no directory. */
    const char* group = argc > 1 && strncmp(argv[1], "--", 2) != 0 ? argv[1] : "all";
    const char* directory = argc > 2 && strncmp(argv[2], "--", 2) != 0 ? argv[2] : NULL;
    int all = strcmp(group, "all") == 0;
    int ran = 0;
    if (all || strcmp(group, "expressions") == 0) { expressions(); ++ran; }
    if (all || strcmp(group, "batches") == 0) { batches(); ++ran; }
    if (all || strcmp(group, "functions") == 0) { host_functions(); ++ran; }
    if (all || strcmp(group, "faults") == 0) { faults(); ++ran; }
    if (all || strcmp(group, "curves") == 0) { curves(); ++ran; }
    if (directory == NULL)
        directory = getenv("TMPDIR") != NULL ? getenv("TMPDIR") : "/tmp";
    if (all || strcmp(group, "files") == 0) { files(directory); ++ran; }
    if (all || strcmp(group, "compiled") == 0) { compiled_curves(); ++ran; }
    if (all || strcmp(group, "concurrency") == 0) { concurrency(); ++ran; }
    if (ran == 0) {
        fprintf(stderr, "unknown group '%s'\n", group);
        return 2;
    }
    if (failures != 0)
        fprintf(stderr, "%d checks failed\n", failures);
    return failures == 0 ? 0 : 1;
}
