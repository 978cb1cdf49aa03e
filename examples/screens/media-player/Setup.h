// SPDX-License-Identifier: MIT
#ifndef SETUP_H
#define SETUP_H

#include "Options.h"

#include <AudioStream.h>

/** Shows all texts of the program in a language, from here on. @param language "en" or "de". */
void UseLanguage(const QString& language);

/** Uses the colours of a theme. @param theme "day", "night", or empty for the desktop's. */
void UseTheme(const QString& theme);

/** Configures a stream. Players with different names can run side by side: each has a bus name of its own. */
void Configure(Audio::Utils::Kiv::Models::AudioStream& stream, const Options& options);

#endif // SETUP_H
