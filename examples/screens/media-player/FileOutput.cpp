// SPDX-License-Identifier: MIT
#include "FileOutput.h"

#include <QAudioDeviceInfo>
#include <QFileInfo>
#include <QUrl>

#include <optional>

namespace {

constexpr int kNotifyInterval = 100; // ms
constexpr int kPatience = 5000;      // ms

/** What can be said of a file before it is read. */
std::optional<PlaybackOutput::Failure> Objection(const QFileInfo& file)
{
    using Failure = PlaybackOutput::Failure;
    if (!file.exists()) {
        return Failure::NotThere;
    }
    if (file.isDir()) {
        return Failure::Folder;
    }
    if (!file.isReadable()) {
        return Failure::NotReadable;
    }
    if (!file.isFile() || file.size() == 0) {
        return Failure::NotAudio;
    }
    // Without plug-ins GStreamer loads for ever.
    const bool hasDecoders =
        QMediaPlayer::hasSupport(QStringLiteral("audio/x-wav")) != QMultimedia::NotSupported;
    return hasDecoders ? std::nullopt : std::optional<Failure>(Failure::NoDecoders);
}

} // namespace

FileOutput::FileOutput(const QString& path)
    : m_Path(path),
      m_HasDevice(!QAudioDeviceInfo::defaultOutputDevice().isNull())
{
    m_Media.setNotifyInterval(kNotifyInterval);
    m_Patience.setSingleShot(true);
    connect(&m_Patience, &QTimer::timeout, this, [this] { Fail(Failure::NotAudio); });
    connect(&m_Media, &QMediaPlayer::mediaStatusChanged, this, &FileOutput::OnStatus);
    connect(&m_Media, QOverload<QMediaPlayer::Error>::of(&QMediaPlayer::error), this,
            [this] { Fail(Failure::NotAudio); });
    connect(&m_Media, &QMediaPlayer::positionChanged, this, &PlaybackOutput::PositionChanged);
    connect(&m_Media, &QMediaPlayer::durationChanged, this, &PlaybackOutput::PositionChanged);
}

void FileOutput::Load()
{
    if (const auto objection = Objection(QFileInfo(m_Path))) {
        Fail(*objection);
        return;
    }
    m_Patience.start(kPatience);
    m_Media.setMedia(QUrl::fromLocalFile(m_Path));
}

void FileOutput::Start()
{
    m_HasFailed = false;
    m_Media.play();
}

void FileOutput::Pause()
{
    m_Media.pause();
}

void FileOutput::Stop()
{
    m_Media.stop();
    m_Media.setPosition(0); // after the end it is stopped already, and still there
    Q_EMIT PositionChanged();
}

void FileOutput::Seek(qint64 position)
{
    m_Media.setPosition(position);
}

qint64 FileOutput::Position() const
{
    return m_Media.position();
}

qint64 FileOutput::Duration() const
{
    return m_Media.duration();
}

QString FileOutput::Source() const
{
    return m_Path;
}

bool FileOutput::IsAudible() const
{
    return m_HasDevice;
}

void FileOutput::OnStatus(QMediaPlayer::MediaStatus status)
{
    if (status == QMediaPlayer::InvalidMedia ||
        (status == QMediaPlayer::LoadedMedia && !m_Media.isAudioAvailable())) {
        Fail(Failure::NotAudio);
    } else if (status == QMediaPlayer::LoadedMedia && !m_IsReady) {
        m_IsReady = true;
        m_Patience.stop();
        Q_EMIT Ready();
    } else if (status == QMediaPlayer::EndOfMedia) {
        Q_EMIT Finished();
    }
}

void FileOutput::Fail(Failure failure)
{
    m_Patience.stop();
    if (!m_HasFailed) { // several signals may tell of it
        m_HasFailed = true;
        Q_EMIT Failed(failure);
    }
}
