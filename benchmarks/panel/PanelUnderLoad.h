// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_PANELUNDERLOAD_H
#define KIV_BENCHMARKS_PANELUNDERLOAD_H

#include "PanelEngine.h"

#include <QAbstractItemModel>
#include <QQuickItem>
#include <QStringList>
#include <QVector>

namespace KivBenchmark {

/** The example program's panel: what it shows, and the finger on it. */
class PanelUnderLoad
{
public:
    /** Loads and shows it. Ends the program with a message when that fails. */
    explicit PanelUnderLoad(const PanelOptions& options);

    QQuickWindow* Window() const { return m_Engine.Window(); }

    /** "modes" or "feed". */
    QAbstractItemModel* Model(const char* name) const;

    /** The tiles that are wholly to be seen, from the first one on. */
    QVector<QQuickItem*> Tiles() const;

    /** Presses and releases the mouse button on an item. */
    void Tap(QQuickItem* item) const;

    /** The names of the tiles that show that their mode is on. */
    QStringList ActiveTiles() const;

    /** The name that the topmost row of the feed shows. */
    QString TopRow() const;

    /** So many rows have come into the feed. */
    int Rows() const { return m_Rows; }

private:
    QVector<QQuickItem*> Items(const char* name) const;

    PanelEngine m_Engine;
    int m_Rows = 0;
};

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_PANELUNDERLOAD_H
