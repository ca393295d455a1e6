#include <stdio.h>

#include "exprcurve.h"

int main(void)
{
    double speed = 1.5;
    exprcurve_parser* parser = exprcurve_parser_new();
    exprcurve_parser_bind_double(parser, "speed", &speed);
    exprcurve_expression* expression = exprcurve_parse(parser, "max(speed,2)*3");
    if (expression == NULL || exprcurve_fault_count(expression) != 0)
        return 1;
    printf("%g\n", exprcurve_evaluate(expression)); /* 6 */
    speed = 4.0;
    printf("%g\n", exprcurve_evaluate(expression)); /* 12 */
    exprcurve_expression_free(expression);

    expression = exprcurve_parse(parser, "2 * speed + foo"); /* still evaluates */
    for (size_t i = 0; i < exprcurve_fault_count(expression); ++i)
        printf("at %d: %s\n", exprcurve_fault_position(expression, i),
               exprcurve_fault_message(expression, i)); /* at 12: unknown name 'foo' */
    exprcurve_expression_free(expression);
    exprcurve_parser_free(parser);

    exprcurve_curve* curve = exprcurve_curve_new();
    exprcurve_curve_add_point(curve, 0.0, 0.0, EXPRCURVE_LINEAR);
    exprcurve_curve_add_point(curve, 1.0, 10.0, EXPRCURVE_LINEAR);
    double times[3] = {0.25, 0.5, 2.0}, values[3];
    exprcurve_curve_sample(curve, times, values, 3);
    printf("%g %g %g\n", values[0], values[1], values[2]); /* 2.5 5 10 */
    if (!exprcurve_curve_save(curve, "ramp.curve", 0))
        fprintf(stderr, "%s\n", exprcurve_last_error());
    exprcurve_curve_free(curve);
    return 0;
}
