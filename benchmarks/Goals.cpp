#include "benchmarks/Goals.h"

#include "benchmarks/Scale.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace zuLogging::benchmarks {

namespace {

std::string number(double value)
{
    char text[32];
    const int digits = std::abs(value) >= 100 || value == std::floor(value) ? 0
                       : std::abs(value) >= 10                              ? 1
                       : std::abs(value) >= 1                               ? 2
                                                                            : 3;
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string goalText(const Goal& goal)
{
    switch (goal.kind) {
    case Goal::Kind::AtMost:
        return "at most " + number(goal.bound) + " " + goal.unit;
    case Goal::Kind::AtMostTimes:
        return "at most " + number(goal.bound) + " times";
    case Goal::Kind::Shown:
        break;
    }
    return "-";
}

} // namespace

bool Goal::isReached() const
{
    switch (kind) {
    case Kind::AtMost:
        return figure <= bound;
    case Kind::AtMostTimes:
        return figure <= bound * beside;
    case Kind::Shown:
        break;
    }
    return true;
}

std::string Goal::line() const
{
    std::string text = work + "\t" + number(figure) + " " + unit + "\t";
    text += besideName.empty() ? "-" : number(beside) + " " + unit + ", " + besideName;
    text += "\t";
    text += besideName.empty() || beside <= 0 ? "-" : number(figure / beside);
    text += "\t" + goalText(*this) + "\t";
    if (kind == Kind::Shown)
        text += "-";
    else if (isShortRun())
        text += "short run";
    else
        text += isReached() ? "reached" : "NOT REACHED";
    return text;
}

void report(const Goal& goal)
{
    const std::string line = goal.line();
    std::printf("GOAL\t%s\n", line.c_str());
    std::fflush(stdout);
    if (const char* path = std::getenv("LOGDESK_BENCHMARK_GOALS"))
        std::ofstream(path, std::ios::app) << line << '\n';
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace zuLogging::benchmarks
