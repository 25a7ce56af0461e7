// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QString>

#include <algorithm>
#include <cmath>
#include <ctime>

/// One row of the table that Scripts/bench.sh prints: the cost of some work relative to a baseline.
/// A ratio above `good` makes the script fail; a ratio up to `goal` is as good as is wanted.
struct Row
{
    const char *work;
    const char *baseline;
    double good;
    double goal;
    const char *unit = "ms";

    /// Prints the row. Without a growth the work has only one size.
    void print(double value, const QString &figures,
               const QString &growth = QStringLiteral("-")) const
    {
        qInfo("bench: %s | %s | %s %s | %.2f | %g | %g | %s", work, baseline,
              qUtf8Printable(figures), unit, value, good, goal, qUtf8Printable(growth));
    }
};

/// The processor time of this process in milliseconds, of all its threads.
[[nodiscard]] inline double processorClock()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1000 + double(time.tv_nsec) / 1e6;
}

/// The processor time of one run, in milliseconds.
template <typename Work>
[[nodiscard]] double processorTime(Work work)
{
    const double begin = processorClock();
    work();
    return processorClock() - begin;
}

[[nodiscard]] inline double median(QList<double> values)
{
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

/// The cost of two ways to do the same work, and how it grows with the size.
class Comparison final
{
public:
    /// The size of the small work is that of the large work divided by this.
    static constexpr int small = 4;

    /// Adds one run of each.
    void add(double subjectCost, double baselineCost)
    {
        subject.append(subjectCost);
        baseline.append(baselineCost);
        ratios.append(subjectCost / baselineCost);
    }
    /// Adds a run of the small work, directly after one of the large work.
    void addSmall(double subjectCost, double baselineCost)
    {
        growths.append(subject.constLast() / (small * subjectCost) - 1);
        baselineGrowths.append(baseline.constLast() / (small * baselineCost) - 1);
    }

    [[nodiscard]] double ratio() const { return median(ratios); }

    /// Prints the row. The growth is that of the cost per unit: of the work, and of the baseline in
    /// parentheses. Part of it is not the work's own: a large work does not fit into the caches.
    void print(const Row &row) const
    {
        const QString figures = QStringLiteral("%1, %2")
                                    .arg(median(subject), 0, 'f', 2)
                                    .arg(median(baseline), 0, 'f', 2);
        if (growths.isEmpty())
            row.print(ratio(), figures);
        else
            row.print(ratio(), figures,
                      QStringLiteral("%1 % (%2 %)")
                          .arg(std::lround(100 * median(growths)))
                          .arg(std::lround(100 * median(baselineGrowths))));
    }

private:
    QList<double> subject;
    QList<double> baseline;
    QList<double> ratios;
    QList<double> growths;
    QList<double> baselineGrowths;
};

/// Compares the costs that two functions return. The runs alternate, so that the load of the
/// machine affects both in the same way, and the ratio is that of neighbouring runs.
template <typename Subject, typename Baseline>
[[nodiscard]] Comparison compareCosts(Subject subject, Baseline baseline, int runs = 7)
{
    Comparison comparison;
    for (int run = 0; run < runs; ++run) {
        const double baselineCost = baseline();
        comparison.add(subject(), baselineCost);
    }
    return comparison;
}

/// The same with both sizes: the functions get 1 or Comparison::small, by which they divide theirs.
template <typename Subject, typename Baseline>
[[nodiscard]] Comparison compareSizes(Subject subject, Baseline baseline, int runs = 7)
{
    Comparison comparison;
    for (int run = 0; run < runs; ++run) {
        const double large = baseline(1);
        comparison.add(subject(1), large);
        const double little = baseline(Comparison::small);
        comparison.addSmall(subject(Comparison::small), little);
    }
    return comparison;
}
