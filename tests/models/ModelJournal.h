// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_MODELJOURNAL_H
#define KIV_TESTS_MODELJOURNAL_H

#include <QAbstractItemModelTester>
#include <QAbstractListModel>
#include <QMetaProperty>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QVector>

/** Waits until a journal has these entries, and takes them. */
#define KIV_TRY_JOURNAL(journal, ...)                                                                        \
    do {                                                                                                     \
        QTRY_COMPARE_WITH_TIMEOUT((journal).Entries(), (__VA_ARGS__), 30000);                                \
        (journal).Take();                                                                                    \
    } while (false)

namespace KivTest {

/**
 * Writes down every signal of a list model, in order and as text: `+0..1` (rows inserted), `-2..2` (removed),
 * `1: active` (roles of a row), `busy=true` (properties). Fails the test when the model breaks a rule of models.
 */
class ModelJournal
{
public:
    explicit ModelJournal(QAbstractListModel& model)
        : m_Model(model),
          m_Tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal)
    {
        using Model = QAbstractItemModel;
        const auto rows = [this](const char* sign) {
            return [this, sign](const QModelIndex&, int first, int last) {
                m_Entries.append(QStringLiteral("%1%2..%3").arg(QLatin1String(sign)).arg(first).arg(last));
            };
        };
        QObject::connect(&model, &Model::rowsInserted, &m_Context, rows("+"));
        QObject::connect(&model, &Model::rowsRemoved, &m_Context, rows("-"));
        QObject::connect(&model, &Model::dataChanged, &m_Context,
                         [this](const QModelIndex& first, const QModelIndex& last,
                                const QVector<int>& roles) { NoteData(first, last, roles); });
        QObject::connect(&model, &Model::modelReset, &m_Context, [this] { m_Entries.append("reset"); });
        QObject::connect(&model, &Model::layoutChanged, &m_Context, [this] { m_Entries.append("layout"); });
        QObject::connect(&model, &Model::rowsMoved, &m_Context, [this] { m_Entries.append("moved"); });
    }

    /** Writes changes of a property down, too. */
    template <typename Type>
    void Watch(void (Type::*changed)(), const char* property)
    {
        QObject::connect(static_cast<Type*>(&m_Model), changed, &m_Context, [this, property] {
            m_Entries.append(QLatin1String(property) + QLatin1Char('=') +
                             m_Model.property(property).toString());
        });
    }

    QStringList Entries() const { return m_Entries; }

    /** The entries since the last call. */
    QStringList Take()
    {
        const QStringList entries = m_Entries;
        m_Entries.clear();
        return entries;
    }

    /** One role of all rows. */
    QVariantList Column(int role) const
    {
        QVariantList values;
        for (int row = 0; row < m_Model.rowCount(); ++row) {
            values.append(m_Model.index(row).data(role));
        }
        return values;
    }

private:
    void NoteData(const QModelIndex& first, const QModelIndex& last, const QVector<int>& roles)
    {
        QStringList names;
        for (const int role : roles) {
            names.append(QString::fromLatin1(m_Model.roleNames().value(role)));
        }
        const QString rows = first == last ? QString::number(first.row())
                                           : QStringLiteral("%1..%2").arg(first.row()).arg(last.row());
        m_Entries.append(rows + QStringLiteral(": ") + names.join(QLatin1Char(' ')));
    }

    QAbstractListModel& m_Model;
    QAbstractItemModelTester m_Tester;
    QStringList m_Entries;
    QObject m_Context;
};

} // namespace KivTest

#endif // KIV_TESTS_MODELJOURNAL_H
