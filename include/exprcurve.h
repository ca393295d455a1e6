/* exprcurve from C (and from any language with a foreign-function interface).
 *
 * Every object is an opaque handle made by a `_new` (or `exprcurve_parse`)
 * function and released by its `_free` function; every `_free` accepts null.
 * Nothing throws across this interface: functions that can fail return 1 on
 * success and 0 on failure (null for handles), and exprcurve_last_error()
 * then says why in one English line. Running out of memory is such a failure.
 *
 * Expressions: a parser holds names bound to the caller's variables (the
 * caller keeps them alive while any expression reads them); a parsed
 * expression reads them anew at every evaluation. A faulty text still gives
 * an expression, which evaluates with a 0 in place of each faulty part, and
 * lists its faults. An expression does not need its parser once it is made.
 *
 * Curves: points with a segment kind (the EXPRCURVE_LINEAR ... constants),
 * out-of-range modes (EXPRCURVE_MODE_...), text and binary files. Version 0
 * means the text format; any other version is the binary layout that the
 * file's writer used (see docs/file-formats.md). Text files are written with
 * 17 significant digits, so they load back bit for bit; a curve holding a
 * number that is infinite, NaN or subnormal, which the text reader refuses,
 * is not saved as text (binary files keep every number).
 *
 * Threads: evaluating an unchanging expression or curve may happen on
 * several threads at once while nobody writes the bound variables; anything
 * that changes a handle is for one thread at a time. The last-error text is
 * kept per thread. */
#ifndef EXPRCURVE_H
#define EXPRCURVE_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#else
#include <stdbool.h>
#endif

typedef struct exprcurve_parser exprcurve_parser;
typedef struct exprcurve_expression exprcurve_expression;
typedef struct exprcurve_curve exprcurve_curve;
typedef struct exprcurve_compiled_curve exprcurve_compiled_curve;

/* Segment kinds: the kind of the segment that ends at a point. */
enum {
    EXPRCURVE_LINEAR = 0,
    EXPRCURVE_BEZIER = 1,
    EXPRCURVE_TCB = 2,
    EXPRCURVE_STEP = 3
};

/* Out-of-range modes, before the first and after the last point. */
enum {
    EXPRCURVE_MODE_ZERO = 0,
    EXPRCURVE_MODE_CONSTANT = 1,
    EXPRCURVE_MODE_CYCLE = 2,
    EXPRCURVE_MODE_CYCLE_OFFSET = 3,
    EXPRCURVE_MODE_LINEAR = 4
};

/* The text of the last failure on the calling thread ("" when none). */
const char* exprcurve_last_error(void);

/* ---- parsers */
exprcurve_parser* exprcurve_parser_new(void);
void exprcurve_parser_free(exprcurve_parser* parser);
/* Names are lower-cased; binding a name that is already bound fails. */
int exprcurve_parser_bind_double(exprcurve_parser* parser, const char* name, double* variable);
int exprcurve_parser_bind_float(exprcurve_parser* parser, const char* name, float* variable);
int exprcurve_parser_bind_int(exprcurve_parser* parser, const char* name, int* variable);
int exprcurve_parser_bind_bool(exprcurve_parser* parser, const char* name, bool* variable);
/* Expressions already parsed keep reading the variable. */
int exprcurve_parser_unbind(exprcurve_parser* parser, const char* name);

/* A function for the language: `name(x1,...,xn)` in a text calls it with the
 * arguments' values, left to right, and `context`. The name is lower-cased
 * and must be a letter followed by letters, digits or '_', and no built-in
 * call's name; at most 8 arguments. Defining a name again replaces it;
 * expressions already parsed keep calling what they were parsed with, so
 * `context` must outlive them. Same as the C++ library's HostFunction. */
typedef double (*exprcurve_host_function)(const double* arguments, void* context);
int exprcurve_parser_define_function(exprcurve_parser* parser, const char* name,
                                     unsigned int arity, exprcurve_host_function function,
                                     void* context);
int exprcurve_parser_remove_function(exprcurve_parser* parser, const char* name);

/* ---- expressions */
/* Null only when memory runs out or an argument is null. */
exprcurve_expression* exprcurve_parse(exprcurve_parser* parser, const char* text);
void exprcurve_expression_free(exprcurve_expression* expression);
/* The text as the parser normalised it: lower case, no blanks, '2x' as '2*x'. */
const char* exprcurve_expression_text(const exprcurve_expression* expression);
double exprcurve_evaluate(const exprcurve_expression* expression);

/* The faults of the text, in order: one English line each (null past the
 * end), and the byte range in the text as it was given to exprcurve_parse
 * (-1 past the end). */
size_t exprcurve_fault_count(const exprcurve_expression* expression);
const char* exprcurve_fault_message(const exprcurve_expression* expression, size_t index);
int exprcurve_fault_position(const exprcurve_expression* expression, size_t index);
int exprcurve_fault_length(const exprcurve_expression* expression, size_t index);

/* One bound variable's values for a batch: `variable` is the address that
 * was bound (a double, float, int or bool), `values` points to one value of
 * that same type per row. */
typedef struct exprcurve_column {
    const void* variable;
    const void* values;
} exprcurve_column;

/* results[i] = the expression's value while every listed variable holds its
 * i-th value; unlisted variables are read as usual. Nothing is written to
 * the variables, so several threads may run batches of one expression at
 * once; except for an expression that calls a host function, whose batch
 * writes each listed variable before each row and puts the values back after
 * the last, and is then for one thread at a time. Returns 0 only for null
 * arguments or when memory runs out. */
int exprcurve_evaluate_batch(const exprcurve_expression* expression, size_t rows,
                             const exprcurve_column* columns, size_t column_count,
                             double* results);

/* Expressions run machine code generated for them where the platform allows
 * (x86-64 Linux), else an interpreter, with the same results either way.
 * Process-wide, on at start; expressions parsed later follow the setting. */
void exprcurve_set_native_code_allowed(int allowed);
int exprcurve_expression_uses_native_code(const exprcurve_expression* expression);

/* ---- curves */
/* One control point, every field a curve keeps. */
typedef struct exprcurve_point {
    double time;
    double value;
    double left_slope;   /* bezier slope arriving at the point */
    double right_slope;  /* bezier slope leaving it */
    double tension;
    double continuity;
    double bias;
    double ease_from;    /* ease at the start of the segment leaving the point */
    double ease_to;      /* ease at the end of the segment arriving at it */
    int type;            /* EXPRCURVE_LINEAR ... EXPRCURVE_STEP */
    int flag;            /* the host's own, 0 or 1 */
} exprcurve_point;

exprcurve_curve* exprcurve_curve_new(void);
void exprcurve_curve_free(exprcurve_curve* curve);
/* A curve of its own: copies of every point in the same order (points at equal
 * times included), the modes and the default value. */
exprcurve_curve* exprcurve_curve_copy(const exprcurve_curve* curve);

/* Points are kept in time order: a new point goes before any point at the
 * same time. Slopes and TCB fields start at 0. */
void exprcurve_curve_add_point(exprcurve_curve* curve, double time, double value, int type);
int exprcurve_curve_insert_point(exprcurve_curve* curve, const exprcurve_point* point);
size_t exprcurve_curve_point_count(const exprcurve_curve* curve);
int exprcurve_curve_get_point(const exprcurve_curve* curve, size_t index, exprcurve_point* point);
int exprcurve_curve_remove_point(exprcurve_curve* curve, size_t index);
void exprcurve_curve_clear(exprcurve_curve* curve);

int exprcurve_curve_pre_mode(const exprcurve_curve* curve);
int exprcurve_curve_post_mode(const exprcurve_curve* curve);
void exprcurve_curve_set_modes(exprcurve_curve* curve, int pre, int post);
/* The value of a curve without points. */
double exprcurve_curve_default_value(const exprcurve_curve* curve);
void exprcurve_curve_set_default_value(exprcurve_curve* curve, double value);

/* Version 0: text. Otherwise binary data of that version; a binary save
 * always writes the newest layout, so it takes only versions from 3027 on.
 * A failed load leaves the points read before the failure. */
int exprcurve_curve_load(exprcurve_curve* curve, const char* path, unsigned int version);
int exprcurve_curve_save(exprcurve_curve* curve, const char* path, unsigned int version);

double exprcurve_curve_evaluate(const exprcurve_curve* curve, double t);
/* values[i] = exprcurve_curve_evaluate(curve, times[i]). `values` may be
 * `times` itself; otherwise the two must not overlap. */
void exprcurve_curve_sample(const exprcurve_curve* curve, const double* times, double* values,
                            size_t count);

/* ---- the runtime form of a curve
 * A snapshot of everything evaluation reads, taken when it is made: it
 * answers for the curve as it stood then, bit for bit, whatever happens to
 * the curve afterwards, and finds a time's segment by a binary search (or,
 * with a hint, starting where the last lookup ended) instead of a scan. It
 * never changes while in use, so any number of threads may evaluate it at
 * once, each with its own hint. */
exprcurve_compiled_curve* exprcurve_curve_compile(const exprcurve_curve* curve);
void exprcurve_compiled_curve_free(exprcurve_compiled_curve* compiled);
/* A new snapshot of `curve` into the same handle, reusing its memory. */
int exprcurve_compiled_curve_rebuild(exprcurve_compiled_curve* compiled,
                                     const exprcurve_curve* curve);
size_t exprcurve_compiled_curve_point_count(const exprcurve_compiled_curve* compiled);
double exprcurve_compiled_curve_evaluate(const exprcurve_compiled_curve* compiled, double t);
/* The same value; `hint` is the caller's cursor: start it at 0 and pass it
 * back each call. Any value is valid; it only changes how fast the answer
 * comes. */
double exprcurve_compiled_curve_evaluate_hinted(const exprcurve_compiled_curve* compiled, double t,
                                                size_t* hint);
void exprcurve_compiled_curve_sample(const exprcurve_compiled_curve* compiled,
                                     const double* times, double* values, size_t count);

#ifdef __cplusplus
}
#endif

#endif /* EXPRCURVE_H */
