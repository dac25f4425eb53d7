// Elementary functions with the same bits on every machine: the C library's differ in the last one between processors
// and between libraries. Only +, -, *, / and sqrt of IEEE 754 are used, each rounded to nearest.
//
// In double precision, unless said otherwise, the result is the double nearest to the true value, unless that lies
// within 2^-40 of the distance between two doubles from the middle between them; then it is one of the two. Results
// below 2^-1022 may be one unit of the last place off. In single precision it is the true value within 2^-48 of itself,
// rounded once.
//
// Method: reduction to a table's point and a power series from there (P. T. P. Tang, Table-driven implementation of the
// exponential function in IEEE floating-point arithmetic, ACM TOMS 15, 1989, and Table-driven implementation of the
// logarithm function, TOMS 16, 1990), in sums of two doubles (T. J. Dekker, A floating-point technique for extending
// the available precision, Numerische Mathematik 18, 1971), first shortly and again with all terms where the short one
// does not tell how to round (A. Ziv, Fast evaluation of elementary mathematical functions with correctly rounded last
// bit, TOMS 17, 1991).
#ifndef QX_BASE_EXACT_MATH_H
#define QX_BASE_EXACT_MATH_H

#include <cfloat>

// Intermediate results must be as narrow as their type: not so on the x87, where results would be others.
#if FLT_EVAL_METHOD != 0
#error "floating-point arithmetic must be evaluated in the precision of its operands (on i386: -msse2 -mfpmath=sse)"
#endif

namespace qx::exact {

// Not a number gives the same; overflow an infinity, underflow 0.
double Exp(double x);
float Exp(float x);

// -infinity of 0, not a number below.
double Log(double x);
float Log(float x);

// x to the power of y, for x of 0 or more and finite y; not a number elsewhere. 0 to a power below 0 is infinite.
double Pow(double x, double y);

double Cbrt(double x);

// Angles in radians, at most 25,000 either way; not a number beyond.
double Sin(double x);
float Sin(float x);
double Cos(double x);
double Tan(double x);
// Within 2 units of the last place, and several times as fast: for weights.
double QuickSin(double x);
float Tan(float x);

// -pi / 2 to pi / 2. Not a number for a sine beyond -1 to 1.
double Asin(double sine);
float Asin(float sine);
double Atan(double tangent);
float Atan(float tangent);

// The angle of the direction (x, y), -pi to pi; signs of zeros and infinities as in C (ISO/IEC 9899, annex F).
double Atan2(double y, double x);

}  // namespace qx::exact

#endif  // QX_BASE_EXACT_MATH_H
