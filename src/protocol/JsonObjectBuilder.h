// SPDX-License-Identifier: MIT
#ifndef KIV_PROTOCOL_JSONOBJECTBUILDER_H
#define KIV_PROTOCOL_JSONOBJECTBUILDER_H

#include "protocol/CJsonPtr.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstddef>

namespace Audio::Utils::Kiv::QtDbus {

/** Counts what an object needs, for a JsonObjectBuilder that is given the same members. */
class JsonObjectSize
{
public:
    void AddBool(const QString& key, bool value);
    void AddNumber(const QString& key, qint64 value);
    void AddNumber(const QString& key, quint64 value);
    void AddText(const QString& key, const QString& text);
    void AddList(const QString& key, const QStringList& texts);
    void SkipUnsupported(const QVariant& outer);

    /** How many cJSON items, the object included. */
    std::size_t Items() const { return m_Items; }

    /** How many bytes the keys and texts have at most, each with its end. */
    std::size_t TextBytes() const { return m_TextBytes; }

private:
    void AddItem();
    void AddString(const QString& text);

    std::size_t m_Items = 1;
    std::size_t m_TextBytes = 0;
};

/**
 * Builds and prints a JSON object.
 *
 * cJSON would take memory for each item, key and text: here all of them lie in one block, whose size was counted
 * before. Whole numbers are printed here, since cJSON's way over a double is slow; the text is the same.
 */
class JsonObjectBuilder
{
public:
    explicit JsonObjectBuilder(const JsonObjectSize& size);

    /** Whether there was memory; nothing else may be called if not. */
    bool IsValid() const { return m_Block != nullptr; }

    void AddBool(const QString& key, bool value);
    void AddNumber(const QString& key, qint64 value);
    void AddNumber(const QString& key, quint64 value);
    void AddText(const QString& key, const QString& text);
    void AddList(const QString& key, const QStringList& texts);

    /** Leaves out an entry of a nested map, and says so. @param outer the nested map. */
    void SkipUnsupported(const QVariant& outer);

    /** The object without blanks. */
    QString Print();

private:
    template <typename Integer>
    void AddInteger(const QString& key, Integer value);
    void AddMember(const QString& key, cJSON* item);
    cJSON* MakeItem(int type);
    cJSON* MakeText(int type, const QString& text);
    char* Copy(const QString& text);

    CJsonText m_Block; ///< items, then texts, then room for printing
    cJSON* m_NextItem = nullptr;
    char* m_NextText = nullptr;
    char* m_End = nullptr; ///< of the block
    cJSON* m_Root = nullptr;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_PROTOCOL_JSONOBJECTBUILDER_H
