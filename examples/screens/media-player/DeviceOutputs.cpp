// SPDX-License-Identifier: MIT
#include "DeviceOutputs.h"

#include "FileOutput.h"
#include "SilentOutput.h"
#include "ToneOutput.h"

std::unique_ptr<PlaybackOutput> DeviceOutputs::MakeMelody()
{
    const QAudioDeviceInfo device = QAudioDeviceInfo::defaultOutputDevice();
    return device.isNull() ? MakeSilence() : std::make_unique<ToneOutput>(device);
}

std::unique_ptr<PlaybackOutput> DeviceOutputs::MakeFile(const QString& path)
{
    return std::make_unique<FileOutput>(path);
}

std::unique_ptr<PlaybackOutput> DeviceOutputs::MakeSilence()
{
    return std::make_unique<SilentOutput>(ToneGenerator::Duration());
}
