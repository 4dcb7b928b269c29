#pragma once

#include <QString>

#include <optional>

// Integer arithmetic for "#math": 64-bit integers, + - * / % with the usual
// precedence (left to right within a level), signs and parentheses; blanks
// between numbers and operators are ignored. Division truncates toward zero
// and % keeps the sign of the left operand, as in C++.
//
// Division or remainder by zero, a number or result outside 64 bits, brackets
// nested deeper than kMaxNesting and anything that is not such an expression
// give no value, and *error says why in words a player can read. The
// evaluator recurses only at an opening bracket, so the nesting bound is also
// its stack bound: a script or a server cannot overflow the stack with
// thousands of brackets or signs.
class MathExpression final {
public:
    static constexpr int kMaxNesting = 64;

    static std::optional<qint64> evaluate(const QString& expression, QString* error = nullptr);
};
