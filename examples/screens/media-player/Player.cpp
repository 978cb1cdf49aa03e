// SPDX-License-Identifier: MIT
#include "Player.h"

#include <utility>

Player::Player(AudioStream& stream, OutputMaker& outputs)
    : m_Stream(stream),
      m_Outputs(outputs)
{
    // The state is told first: nothing that follows finds sound without the focus.
    connect(&m_Stream, &AudioStream::stateChanged, this, &Player::Obey);
    connect(&m_Stream, &AudioStream::playingChanged, this, &Player::Obey);
    connect(&m_Stream, &AudioStream::focusLost, this, &Player::OnFocusLost);
    connect(&m_Stream, &AudioStream::availableChanged, this, &Player::Changed);
    connect(&m_Stream, &AudioStream::lastReasonChanged, this, &Player::Changed);
    m_Output = Own(m_Outputs.MakeMelody());
    m_Output->Load();
}

void Player::Open(const QString& path)
{
    m_Complaint.reset();
    Release(std::exchange(m_Candidate, Own(m_Outputs.MakeFile(path))));
    m_Candidate->Load();
    Q_EMIT Changed();
}

void Player::Play()
{
    if (!m_Stream.isAvailable()) {
        return;
    }
    m_Complaint.reset();
    m_Ending = Ending::None;
    m_Stream.setPlaying(true);
    m_Stream.requestFocus();
    Q_EMIT Changed();
}

void Player::Pause()
{
    m_Complaint.reset();
    m_Stream.setPlaying(false);
    Q_EMIT Changed();
}

void Player::Toggle()
{
    m_Stream.isPlaying() ? Pause() : Play();
}

void Player::Stop()
{
    m_Complaint.reset();
    GiveBack(Ending::ByUser, QStringLiteral("stopped by the user"));
}

void Player::Seek(qint64 position)
{
    m_Output->Seek(position);
}

bool Player::IsSounding() const
{
    return m_IsSounding;
}

Player::Situation Player::Now() const
{
    return {m_Stream.state(),     m_Stream.lastReason(), m_Stream.isAvailable(),
            m_Stream.isPlaying(), m_Output->IsAudible(), m_Ending};
}

const PlaybackOutput& Player::Output() const
{
    return *m_Output;
}

const Player::Complaint* Player::LastComplaint() const
{
    return m_Complaint.get();
}

// The one place where sound is switched on and off.
void Player::Obey()
{
    const bool isWanted = m_Stream.isPlaying() && m_Stream.hasFocus();
    if (isWanted != m_IsSounding) {
        m_IsSounding = isWanted;
        isWanted ? m_Output->Start() : m_Output->Pause();
    }
    Q_EMIT Changed();
}

void Player::OnFocusLost(AudioStream::Reason reason)
{
    const bool isOwnDoing = std::exchange(m_IsGivingBack, false) && reason == AudioStream::Reason::Abandoned;
    if (!isOwnDoing) { // otherwise the user may want it to play again by now
        m_Stream.setPlaying(false);
    }
}

PlaybackOutput* Player::Own(std::unique_ptr<PlaybackOutput> made)
{
    PlaybackOutput* const output = made.release();
    output->setParent(this);
    connect(output, &PlaybackOutput::Ready, this, [this, output] { Adopt(output); });
    connect(output, &PlaybackOutput::Finished, this, [this, output] { OnFinished(output); });
    connect(output, &PlaybackOutput::Failed, this,
            [this, output](PlaybackOutput::Failure failure) { OnFailed(output, failure); });
    connect(output, &PlaybackOutput::PositionChanged, this, &Player::PositionChanged);
    return output;
}

void Player::Adopt(PlaybackOutput* output)
{
    if (output == m_Candidate) {
        m_Candidate = nullptr;
        m_Ending = Ending::OtherMedium;
        Replace(output);
    }
}

void Player::Replace(PlaybackOutput* next)
{
    Release(std::exchange(m_Output, next));
    if (m_IsSounding) {
        m_Output->Start();
    }
    Q_EMIT Changed();
    Q_EMIT PositionChanged();
}

void Player::Release(PlaybackOutput* output)
{
    if (output) {
        output->disconnect(this);
        output->Pause();
        output->deleteLater(); // it may be telling something
    }
}

void Player::OnFailed(PlaybackOutput* output, PlaybackOutput::Failure failure)
{
    if (output == m_Candidate) {
        m_Complaint = std::make_unique<Complaint>(Complaint{output->Source(), failure});
        Release(std::exchange(m_Candidate, nullptr));
        Q_EMIT Changed();
    } else if (failure == PlaybackOutput::Failure::NoDevice) {
        KeepTime();
    } else {
        m_Complaint = std::make_unique<Complaint>(Complaint{output->Source(), failure});
        GiveBack(Ending::Failure, QStringLiteral("the medium cannot be played"));
    }
}

// Goes on in silence where the device has gone.
void Player::KeepTime()
{
    PlaybackOutput* const silence = Own(m_Outputs.MakeSilence());
    silence->Load();
    silence->Seek(m_Output->Position());
    Replace(silence);
}

void Player::OnFinished(PlaybackOutput* output)
{
    if (output == m_Output) {
        GiveBack(Ending::EndOfMedia, QStringLiteral("the medium has ended"));
    }
}

// The order matters: silence first, then the focus goes.
void Player::GiveBack(Ending ending, const QString& reason)
{
    m_Ending = ending;
    m_Stream.setPlaying(false);
    m_Output->Stop();
    m_IsGivingBack = HasClaim();
    m_Stream.abandon(reason);
    Q_EMIT Changed();
}

bool Player::HasClaim() const
{
    const AudioStream::State state = m_Stream.state();
    return state == AudioStream::State::Requested || state == AudioStream::State::Focused ||
           state == AudioStream::State::Interrupted;
}
