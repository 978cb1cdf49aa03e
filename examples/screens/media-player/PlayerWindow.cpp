// SPDX-License-Identifier: MIT
#include "PlayerWindow.h"

#include "Theme.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMimeData>
#include <QShortcut>
#include <QStandardPaths>
#include <QTime>
#include <QVBoxLayout>

namespace {

constexpr double kTitleScale = 1.5; // of the size of other text
constexpr int kLongestName = 24;    // characters in a complaint

/** "2:08", "1:02:08". */
QString TimeText(qint64 milliseconds)
{
    const qint64 seconds = milliseconds / 1000;
    const QString rest =
        QStringLiteral("%1:%2").arg(seconds / 60 % 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return seconds < 3600 ? rest : QStringLiteral("%1:%2").arg(seconds / 3600).arg(rest, 5, QLatin1Char('0'));
}

/** The file that is dragged; empty if it is none, or not one of this machine. */
QString LocalFile(const QMimeData* data)
{
    const QList<QUrl> urls = data->urls();
    return urls.isEmpty() ? QString() : urls.first().toLocalFile();
}

QString KeyText(const QKeySequence& keys)
{
    return keys.toString(QKeySequence::NativeText);
}

/** A long name without its middle. */
QString Shortened(const QString& name)
{
    const int half = kLongestName / 2;
    return name.size() <= kLongestName ? name : name.left(half) + QChar(0x2026) + name.right(half - 1);
}

} // namespace

PlayerWindow::PlayerWindow(Player& player)
    : m_Player(player),
      m_Stop(Theme::kSmallButton, false),
      m_Play(Theme::kLargeButton, true),
      m_Open(Theme::kSmallButton, false)
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Theme::kMargin, Theme::kMargin, Theme::kMargin, Theme::kMargin);
    layout->setSpacing(Theme::kSpacing);
    layout->addLayout(TitleRow());
    layout->addLayout(TimeRow());
    layout->addLayout(ButtonRow());
    layout->addStretch();
    layout->addSpacing(Theme::kSpacing);
    layout->addWidget(&m_Status);
    setAcceptDrops(true);
    resize(Theme::kWindowWidth, 0); // as high as need be
    AddKeys();
    ConnectPlayer();
    ApplyColors();
    ShowAll();
    m_Play.setFocus();
}

QBoxLayout* PlayerWindow::TitleRow()
{
    m_Title.setObjectName(QStringLiteral("title"));
    m_Origin.setObjectName(QStringLiteral("origin"));
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * kTitleScale);
    large.setBold(true);
    m_Title.setFont(large);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addStretch();
    texts->addWidget(&m_Title);
    texts->addWidget(&m_Origin);
    texts->addStretch();
    auto* const row = new QHBoxLayout;
    row->setSpacing(Theme::kSpacing + 4);
    row->addWidget(&m_Levels);
    row->addLayout(texts, 1);
    return row;
}

QBoxLayout* PlayerWindow::TimeRow()
{
    m_Elapsed.setObjectName(QStringLiteral("elapsed"));
    m_Total.setObjectName(QStringLiteral("total"));
    m_Slider.setObjectName(QStringLiteral("slider"));
    m_Slider.setAccessibleName(tr("Position"));
    m_Slider.setToolTip(tr("Position"));
    auto* const row = new QHBoxLayout;
    row->setSpacing(Theme::kSpacing / 2);
    for (QLabel* const label : {&m_Elapsed, &m_Total}) { // the slider does not change its length
        label->setMinimumWidth(label->fontMetrics().horizontalAdvance(QStringLiteral("00:00")));
    }
    m_Total.setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(&m_Elapsed);
    row->addWidget(&m_Slider, 1);
    row->addWidget(&m_Total);
    return row;
}

QBoxLayout* PlayerWindow::ButtonRow()
{
    m_Stop.setObjectName(QStringLiteral("stop"));
    m_Play.setObjectName(QStringLiteral("play"));
    m_Open.setObjectName(QStringLiteral("open"));
    auto* const row = new QHBoxLayout;
    row->setSpacing(2 * Theme::kSpacing);
    row->addStretch();
    for (RoundButton* const button : {&m_Stop, &m_Play, &m_Open}) {
        row->addWidget(button);
    }
    row->addStretch();
    return row;
}

void PlayerWindow::ConnectPlayer()
{
    connect(&m_Play, &QPushButton::clicked, &m_Player, &Player::Toggle);
    connect(&m_Stop, &QPushButton::clicked, &m_Player, &Player::Stop);
    connect(&m_Open, &QPushButton::clicked, this, &PlayerWindow::AskForFile);
    connect(&m_Slider, &QSlider::valueChanged, &m_Player, &Player::Seek);
    connect(&m_Slider, &QSlider::sliderMoved, this,
            [this](int value) { m_Elapsed.setText(TimeText(value)); });
    connect(&m_Player, &Player::Changed, this, &PlayerWindow::ShowAll);
    connect(&m_Player, &Player::PositionChanged, this, &PlayerWindow::ShowPosition);
}

void PlayerWindow::AddKeys()
{
    const auto add = [this](const QKeySequence& keys, auto* receiver, auto slot) {
        connect(new QShortcut(keys, this), &QShortcut::activated, receiver, slot);
    };
    add(Qt::Key_Space, &m_Player, &Player::Toggle);
    add(Qt::Key_S, &m_Player, &Player::Stop);
    add(QKeySequence::Open, this, &PlayerWindow::AskForFile);
    add(QKeySequence("Ctrl+Q"), this, &QWidget::close);
}

void PlayerWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!LocalFile(event->mimeData()).isEmpty()) {
        event->acceptProposedAction();
    }
}

void PlayerWindow::dropEvent(QDropEvent* event)
{
    event->acceptProposedAction();
    m_Player.Open(LocalFile(event->mimeData()));
}

void PlayerWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        ApplyColors();
    }
}

void PlayerWindow::AskForFile()
{
    auto* const dialog = new QFileDialog(this, tr("Open an audio file"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setDirectory(QStandardPaths::writableLocation(QStandardPaths::MusicLocation));
    connect(dialog, &QFileDialog::fileSelected, &m_Player, &Player::Open);
    dialog->open();
}

void PlayerWindow::ShowAll()
{
    ShowTitle();
    ShowButtons();
    ShowPosition();
    m_Status.Show(Describe(m_Player.Now()), Complaint());
}

void PlayerWindow::ShowTitle()
{
    const QFileInfo file(m_Player.Output().Source());
    const bool isMelody = file.filePath().isEmpty();
    const QString title = isMelody ? tr("Evening melody") : file.completeBaseName();
    m_Title.SetWhole(title);
    m_Origin.SetWhole(isMelody ? tr("Made by this program") : file.absolutePath());
    setWindowTitle(tr("%1 – Media player").arg(title));
}

void PlayerWindow::ShowButtons()
{
    const Player::Situation now = m_Player.Now();
    const bool isPause = now.isPlaying;
    m_Play.SetAction(isPause ? Icon::Pause : Icon::Play, isPause ? tr("Pause") : tr("Play"),
                     KeyText(Qt::Key_Space));
    const bool canPress = now.isAvailable || isPause;
    m_Play.SetDimmed(!canPress, canPress ? QString() : Describe(now).sentence);
    m_Stop.SetAction(Icon::Stop, tr("Stop"), KeyText(Qt::Key_S));
    m_Open.SetAction(Icon::Open, tr("Open…"), KeyText(QKeySequence::Open));
}

void PlayerWindow::ShowPosition()
{
    const qint64 position = m_Player.Output().Position();
    const qint64 duration = m_Player.Output().Duration();
    m_Slider.Show(position, duration);
    if (!m_Slider.isSliderDown()) {
        m_Elapsed.setText(TimeText(position));
    }
    m_Total.setText(TimeText(duration));
    m_Levels.Show(position, m_Player.IsSounding());
}

void PlayerWindow::ApplyColors()
{
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, Theme::Secondary(palette()));
    for (QLabel* const label : QVector<QLabel*>{&m_Origin, &m_Elapsed, &m_Total}) {
        label->setPalette(colors);
    }
}

QString PlayerWindow::Complaint() const
{
    const Player::Complaint* const complaint = m_Player.LastComplaint();
    return complaint ? Describe(complaint->failure, Shortened(QFileInfo(complaint->path).fileName()))
                     : QString();
}
