// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QtGlobal>

#include <algorithm>
#include <ctime>

/// The processor time of two ways to do the same work, in milliseconds. The runs alternate, so that
/// the load of the machine affects both in the same way.
struct Comparison
{
    double subject = 0;  ///< median of the runs
    double baseline = 0; ///< median of the runs

    [[nodiscard]] double ratio() const { return subject / baseline; }

    /// Prints the figures in one line.
    void print(const char *subjectName, const char *baselineName) const
    {
        qInfo("%s: %.2f ms; %s: %.2f ms; ratio %.3f", subjectName, subject, baselineName, baseline,
              ratio());
    }
};

/// The processor time of one run, in milliseconds.
template <typename Work>
[[nodiscard]] double processorTime(Work work)
{
    const std::clock_t begin = std::clock();
    work();
    return double(std::clock() - begin) * 1000 / CLOCKS_PER_SEC;
}

[[nodiscard]] inline double median(QList<double> values)
{
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

template <typename Subject, typename Baseline>
[[nodiscard]] Comparison compare(Subject subject, Baseline baseline, int runs = 7)
{
    QList<double> subjectTimes;
    QList<double> baselineTimes;
    for (int run = 0; run < runs; ++run) {
        baselineTimes.append(processorTime(baseline));
        subjectTimes.append(processorTime(subject));
    }
    return {median(subjectTimes), median(baselineTimes)};
}
