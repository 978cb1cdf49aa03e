// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_LISTDIFF_H
#define KIV_MODELS_LISTDIFF_H

#include <QStringList>
#include <QVector>

namespace Audio::Utils::Kiv::Models {

/** Neighbouring rows that are inserted or removed together. */
struct ListStep
{
    enum Kind
    {
        Insert,
        Remove
    };

    Kind kind;
    int first; ///< Where, in the list as it is when it is this step's turn.
    QStringList texts;
};

/**
 * The steps that make one list of another, to be done in this order: as few rows as possible are inserted and removed.
 *
 * Lists may hold a text more than once. The part in which two lists differ is replaced as a whole when it is so long
 * that comparing would take too much time and memory: from 1000 rows on each side.
 */
QVector<ListStep> StepsBetween(const QStringList& from, const QStringList& to);

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_LISTDIFF_H
