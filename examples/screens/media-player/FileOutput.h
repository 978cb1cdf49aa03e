// SPDX-License-Identifier: MIT
#ifndef FILEOUTPUT_H
#define FILEOUTPUT_H

#include "PlaybackOutput.h"

#include <QMediaPlayer>
#include <QTimer>

/** Plays an audio file with what Qt Multimedia finds on the machine. */
class FileOutput : public PlaybackOutput
{
    Q_OBJECT

public:
    /** @param path an absolute path. */
    explicit FileOutput(const QString& path);

    void Load() override;
    void Start() override;
    void Pause() override;
    void Stop() override;
    void Seek(qint64 position) override;
    qint64 Position() const override;
    qint64 Duration() const override;
    QString Source() const override;
    bool IsAudible() const override;

private:
    void OnStatus(QMediaPlayer::MediaStatus status);
    void Fail(Failure failure);

    const QString m_Path;
    QMediaPlayer m_Media;
    const bool m_HasDevice;
    QTimer m_Patience; // some decoders say nothing of what they cannot read
    bool m_IsReady = false;
    bool m_HasFailed = false;
};

#endif // FILEOUTPUT_H
