// SPDX-License-Identifier: MIT
#ifndef KIVAUDIOMODELSEXPORT_H
#define KIVAUDIOMODELSEXPORT_H

#include <QtGlobal>

/** @file Marks what the library kiv-audio-models offers. */

#ifdef KIV_AUDIO_MODELS_LIBRARY
#define KIV_AUDIO_MODELS_EXPORT Q_DECL_EXPORT
#else
#define KIV_AUDIO_MODELS_EXPORT Q_DECL_IMPORT
#endif

#endif // KIVAUDIOMODELSEXPORT_H
