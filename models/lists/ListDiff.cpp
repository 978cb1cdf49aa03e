// SPDX-License-Identifier: MIT
#include "ListDiff.h"

#include <algorithm>

namespace Audio::Utils::Kiv::Models {

namespace {

constexpr qint64 kMostCells = 1000000;

/** How long the longest common subsequence is of what follows each pair of rows. */
class CommonLengths
{
public:
    CommonLengths(const QStringList& from, const QStringList& to)
        : m_Columns(int(to.size()) + 1),
          m_Lengths((from.size() + 1) * m_Columns)
    {
        for (int row = int(from.size()) - 1; row >= 0; --row) {
            for (int column = int(to.size()) - 1; column >= 0; --column) {
                m_Lengths[row * m_Columns + column] =
                    from.at(row) == to.at(column) ? At(row + 1, column + 1) + 1
                                                  : std::max(At(row + 1, column), At(row, column + 1));
            }
        }
    }

    int At(int row, int column) const { return m_Lengths.at(row * m_Columns + column); }

private:
    int m_Columns;
    QVector<int> m_Lengths;
};

/** Collects steps, neighbouring rows in one. Rows come from the first to the last. */
class StepCollector
{
public:
    explicit StepCollector(int first)
        : m_Row(first)
    {
    }

    void Keep()
    {
        ++m_Row;
        m_IsOpen = false;
    }

    void Add(ListStep::Kind kind, const QString& text)
    {
        if (!m_IsOpen || m_Steps.last().kind != kind) {
            m_Steps.append({kind, m_Row, {}});
        }
        m_IsOpen = true;
        m_Steps.last().texts.append(text);
        m_Row += kind == ListStep::Insert ? 1 : 0;
    }

    QVector<ListStep> Steps() const { return m_Steps; }

private:
    int m_Row; ///< In the list as the steps so far leave it.
    bool m_IsOpen = false;
    QVector<ListStep> m_Steps;
};

int CommonBeginning(const QStringList& from, const QStringList& to)
{
    return int(std::mismatch(from.begin(), from.end(), to.begin(), to.end()).first - from.begin());
}

int CommonEnd(const QStringList& from, const QStringList& to, int beginning)
{
    const auto end =
        std::mismatch(from.rbegin(), from.rend() - beginning, to.rbegin(), to.rend() - beginning);
    return int(end.first - from.rbegin());
}

void Replace(const QStringList& from, const QStringList& to, StepCollector& collector)
{
    for (const QString& text : from) {
        collector.Add(ListStep::Remove, text);
    }
    for (const QString& text : to) {
        collector.Add(ListStep::Insert, text);
    }
}

void Compare(const QStringList& from, const QStringList& to, StepCollector& collector)
{
    const CommonLengths common(from, to);
    int row = 0;
    int column = 0;
    while (row < from.size() && column < to.size()) {
        if (from.at(row) == to.at(column)) {
            collector.Keep();
            ++row;
            ++column;
        } else if (common.At(row + 1, column) >= common.At(row, column + 1)) {
            collector.Add(ListStep::Remove, from.at(row++));
        } else {
            collector.Add(ListStep::Insert, to.at(column++));
        }
    }
    Replace(from.mid(row), to.mid(column), collector);
}

} // namespace

QVector<ListStep> StepsBetween(const QStringList& from, const QStringList& to)
{
    const int beginning = CommonBeginning(from, to);
    const int end = CommonEnd(from, to, beginning);
    const QStringList removed = from.mid(beginning, from.size() - beginning - end);
    const QStringList inserted = to.mid(beginning, to.size() - beginning - end);
    StepCollector collector(beginning);
    if (qint64(removed.size()) * inserted.size() > kMostCells) {
        Replace(removed, inserted, collector);
    } else {
        Compare(removed, inserted, collector);
    }
    return collector.Steps();
}

} // namespace Audio::Utils::Kiv::Models
