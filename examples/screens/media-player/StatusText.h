// SPDX-License-Identifier: MIT
#ifndef STATUSTEXT_H
#define STATUSTEXT_H

#include "Player.h"

/** What a sign beside a status tells, by its shape. */
enum class Marker
{
    Sounding,
    Silent,
    Waiting,
    Interrupted,
    Paused,
    Stopped,
    Warning
};

/** What a player does, and what follows from it, for its user. */
struct Status
{
    Marker marker;
    QString sentence;
    QString detail;
};

/** Why it is silent, if it is. A complete function: there is an answer to every situation. */
Status Describe(const Player::Situation& situation);

/** What is wrong with a file. @param name what the user calls it. */
QString Describe(PlaybackOutput::Failure failure, const QString& name);

#endif // STATUSTEXT_H
