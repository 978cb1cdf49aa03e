// SPDX-License-Identifier: MIT
#include "ModesBox.h"

#include "ModeRows.h"
#include "Parts.h"

#include <QAction>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int longestName = 64;

} // namespace

ModesBox::ModesBox(QAbstractItemModel* modes)
    : m_List(new QListView),
      m_Press(MakeButton("pressMode", tr("Press"), tr("Press the selected mode"))),
      m_Remove(MakeButton("removeMode", tr("Remove"), tr("Remove the selected mode"))),
      m_NewName(new QLineEdit),
      m_Add(MakeButton("addMode", tr("Add"), tr("Add a mode of this name")))
{
    auto* const rows = new ModeRows(m_List);
    rows->setSourceModel(modes);
    m_List->setModel(rows);
    m_List->setObjectName("modes");
    m_List->setAccessibleName(tr("Modes of the device"));
    m_List->setTextElideMode(Qt::ElideMiddle);
    m_List->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_List->setTabKeyNavigation(false);
    m_NewName->setObjectName("newMode");
    m_NewName->setAccessibleName(tr("Name of a new mode"));
    m_NewName->setPlaceholderText(tr("New mode"));
    m_NewName->setMaxLength(longestName);
    LayOut();
    Connect();
    FollowSelection();
    FollowNewName();
}

void ModesBox::Forget(const QString& newMode)
{
    if (m_NewName->text().trimmed() == newMode) {
        m_NewName->clear();
    }
}

void ModesBox::LayOut()
{
    auto* const newMode = new QHBoxLayout;
    newMode->setSpacing(Space::gap);
    newMode->addWidget(m_NewName, 2);
    newMode->addWidget(m_Add, 1);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(Space::padding, Space::padding, Space::padding, Space::padding);
    column->setSpacing(Space::gap);
    column->addWidget(MakeHeading(tr("Modes")));
    column->addWidget(m_List, 1);
    column->addLayout(MakeRow({m_Press, m_Remove}));
    column->addLayout(newMode);
}

void ModesBox::Connect()
{
    auto* const remove = new QAction(m_List);
    remove->setShortcut(QKeySequence::Delete);
    remove->setShortcutContext(Qt::WidgetShortcut);
    m_List->addAction(remove);
    connect(remove, &QAction::triggered, m_Remove, &QPushButton::click);
    connect(m_List, &QListView::activated, m_Press, &QPushButton::click);
    connect(m_NewName, &QLineEdit::returnPressed, m_Add, &QPushButton::click);
    connect(m_NewName, &QLineEdit::textChanged, this, &ModesBox::FollowNewName);
    connect(m_List->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ModesBox::FollowSelection);
    connect(m_Press, &QPushButton::clicked, this, [this] { Q_EMIT PressAsked(SelectedMode()); });
    connect(m_Remove, &QPushButton::clicked, this, [this] { Q_EMIT RemoveAsked(SelectedMode()); });
    connect(m_Add, &QPushButton::clicked, this, [this] { Q_EMIT AddAsked(m_NewName->text().trimmed()); });
}

void ModesBox::FollowSelection()
{
    const bool hasSelection = m_List->selectionModel()->hasSelection();
    m_Press->setEnabled(hasSelection);
    m_Remove->setEnabled(hasSelection);
}

void ModesBox::FollowNewName()
{
    m_Add->setEnabled(!m_NewName->text().trimmed().isEmpty());
}

QString ModesBox::SelectedMode() const
{
    return m_List->selectionModel()->currentIndex().data().toString();
}
