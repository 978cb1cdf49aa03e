// SPDX-License-Identifier: MIT
#ifndef DEVICEOUTPUTS_H
#define DEVICEOUTPUTS_H

#include "PlaybackOutput.h"

/** The outputs of this machine: its default audio device and its decoders. */
class DeviceOutputs : public OutputMaker
{
public:
    std::unique_ptr<PlaybackOutput> MakeMelody() override;
    std::unique_ptr<PlaybackOutput> MakeFile(const QString& path) override;
    std::unique_ptr<PlaybackOutput> MakeSilence() override;
};

#endif // DEVICEOUTPUTS_H
