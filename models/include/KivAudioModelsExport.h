// SPDX-License-Identifier: MIT
#ifndef KIVAUDIOMODELSEXPORT_H
#define KIVAUDIOMODELSEXPORT_H

#include <QtGlobal>

/**
 * @file
 * What marks the exported symbols of the models.
 */

/**
 * @def KIV_AUDIO_MODELS_EXPORT
 * Marks what the library kiv-audio-models exports; every other symbol of it is hidden.
 * Programs that use the library need not define anything.
 */
#ifdef KIV_AUDIO_MODELS_LIBRARY
#define KIV_AUDIO_MODELS_EXPORT Q_DECL_EXPORT
#else
#define KIV_AUDIO_MODELS_EXPORT Q_DECL_IMPORT
#endif

#endif // KIVAUDIOMODELSEXPORT_H
