// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_DESIGNCHECK_H
#define KIV_TESTS_DESIGNCHECK_H

#include "Contrast.h"
#include "PanelStage.h"

#include <QAccessible>
#include <QHash>

namespace KivTest {

/** What is wrong with the way a panel looks, each a sentence. Nothing may move meanwhile. */
class DesignCheck
{
public:
    explicit DesignCheck(const PanelStage& stage)
        : m_Window(stage.Window()),
          m_Items(stage.Items()),
          m_Picture(stage.Grab().convertToFormat(QImage::Format_RGB32))
    {
    }

    QStringList Complaints()
    {
        m_Complaints.clear();
        for (QQuickItem* const item : m_Items) {
            if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) {
                CheckText(item);
            } else if (item->inherits("QQuickAbstractButton")) {
                CheckTarget(item);
            }
        }
        CheckApart(m_Texts);
        CheckApart(m_Targets);
        return m_Complaints;
    }

private:
    static constexpr int kSmallestText = 16;   // pixels
    static constexpr int kSmallestTarget = 48; // pixels
    static constexpr int kSmallestTile = 96;   // pixels
    static constexpr double kContrast = 4.5;   // WCAG AA
    static constexpr double kRounding = 1;     // pixels

    struct Place
    {
        const QQuickItem* item;
        QRectF rectangle; ///< in the window
    };

    void Complain(const QQuickItem* item, const QString& what)
    {
        m_Complaints.append(QStringLiteral("%1 \"%2\" %3")
                                .arg(item->objectName().isEmpty()
                                         ? QString::fromLatin1(item->metaObject()->className())
                                         : item->objectName(),
                                     item->property("text").toString().left(40), what));
    }

    /** Where a text is painted, in its item. */
    static QRectF Painted(const QQuickItem* text)
    {
        const QSizeF size(text->property("contentWidth").toReal(), text->property("contentHeight").toReal());
        const int horizontal = text->property("effectiveHorizontalAlignment").toInt();
        const int vertical = text->property("verticalAlignment").toInt();
        const auto start = [](qreal free, bool isMiddle, bool isEnd) {
            return isMiddle ? free / 2 : isEnd ? free : 0;
        };
        return {QPointF(start(text->width() - size.width(), (horizontal & Qt::AlignHCenter) != 0,
                              (horizontal & Qt::AlignRight) != 0),
                        start(text->height() - size.height(), (vertical & Qt::AlignVCenter) != 0,
                              (vertical & Qt::AlignBottom) != 0)),
                size};
    }

    /** What is left of a rectangle of the window when all that clip an item have done so. */
    QRectF Visible(const QQuickItem* item, QRectF rectangle) const
    {
        for (const QQuickItem* parent = item->parentItem(); parent != nullptr;
             parent = parent->parentItem()) {
            if (parent->clip()) {
                rectangle &= parent->mapRectToScene(parent->boundingRect());
            }
        }
        return rectangle;
    }

    static bool IsScrolled(const QQuickItem* item)
    {
        const QQuickItem* parent = item->parentItem();
        while (parent != nullptr && !parent->inherits("QQuickFlickable")) {
            parent = parent->parentItem();
        }
        return parent != nullptr;
    }

    void CheckInside(const QQuickItem* item, const QRectF& rectangle)
    {
        const QRectF visible = Visible(item, rectangle);
        const QRectF window(QPointF(), m_Window->size());
        const bool isCut = visible.width() < rectangle.width() - kRounding ||
                           (!IsScrolled(item) && visible.height() < rectangle.height() - kRounding);
        if ((isCut && !visible.isEmpty()) || (!visible.isEmpty() && !window.contains(visible))) {
            Complain(item, QStringLiteral("is cut off"));
        }
    }

    void CheckText(const QQuickItem* text)
    {
        const QRectF painted = Painted(text);
        const QRectF own(-kRounding, -kRounding, text->width() + 2 * kRounding,
                         text->height() + 2 * kRounding);
        if (text->property("truncated").toBool() || !own.contains(painted)) {
            Complain(text, QStringLiteral("has no room: %1x%2 in %3x%4")
                               .arg(painted.width())
                               .arg(painted.height())
                               .arg(text->width())
                               .arg(text->height()));
        }
        if (text->property("font").value<QFont>().pixelSize() < kSmallestText) {
            Complain(text, QStringLiteral("is too small"));
        }
        if (text->property("textFormat").toInt() != Qt::PlainText) {
            Complain(text, QStringLiteral("may take a name for markup"));
        }
        const QRectF rectangle = text->mapRectToScene(painted);
        CheckInside(text, rectangle);
        const QRectF visible = Visible(text, rectangle);
        if (!visible.isEmpty()) {
            m_Texts.append({text, visible});
            CheckContrast(text, visible);
        }
    }

    void CheckTarget(QQuickItem* target)
    {
        const int least = target->objectName() == QLatin1String("tile") ? kSmallestTile : kSmallestTarget;
        if (target->width() < least || target->height() < least) {
            Complain(target, QStringLiteral("is too small for a finger"));
        }
        QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(target);
        if (accessible == nullptr || accessible->text(QAccessible::Name).isEmpty()) {
            Complain(target, QStringLiteral("has no name for those who do not see it"));
        }
        const QRectF rectangle = target->mapRectToScene(target->boundingRect());
        CheckInside(target, rectangle);
        if (!Visible(target, rectangle).isEmpty()) {
            m_Targets.append({target, Visible(target, rectangle)});
        }
    }

    void CheckApart(const QVector<Place>& places)
    {
        for (int i = 0; i < places.size(); ++i) {
            for (int k = 0; k < i; ++k) {
                const QRectF common = places.at(i).rectangle & places.at(k).rectangle;
                if (common.width() > kRounding && common.height() > kRounding) {
                    Complain(places.at(i).item, QStringLiteral("overlaps \"%1\"")
                                                    .arg(places.at(k).item->property("text").toString()));
                }
            }
        }
    }

    /** What most of a part of the picture is painted with. */
    QRgb Background(const QRect& part) const
    {
        QHash<QRgb, int> counts;
        for (int y = part.top(); y <= part.bottom(); ++y) {
            for (int x = part.left(); x <= part.right(); ++x) {
                ++counts[m_Picture.pixel(x, y)];
            }
        }
        const auto most = std::max_element(counts.cbegin(), counts.cend());
        return most.key();
    }

    /** What is left of a place where no list fades out. */
    QRectF Unfaded(QRectF place) const
    {
        for (const QQuickItem* const item : m_Items) {
            const QRectF fade = item->mapRectToScene(item->boundingRect());
            if (item->objectName() != QLatin1String("edgeFade") || !item->isVisible() ||
                !fade.intersects(place)) {
                continue;
            }
            if (fade.top() <= place.top()) {
                place.setTop(std::min(fade.bottom(), place.bottom()));
            } else {
                place.setBottom(fade.top());
            }
        }
        return place;
    }

    void CheckContrast(const QQuickItem* text, const QRectF& visible)
    {
        const QRectF unfaded = Unfaded(visible);
        if (unfaded.isEmpty()) {
            return; // about to leave
        }
        const QRect part = unfaded.toAlignedRect() & m_Picture.rect();
        const double contrast = Contrast(text->property("color").value<QColor>(), Background(part));
        if (contrast < kContrast) {
            Complain(text, QStringLiteral("has a contrast of %1").arg(contrast));
        }
    }

    const QQuickWindow* const m_Window;
    const QList<QQuickItem*> m_Items;
    const QImage m_Picture;
    QVector<Place> m_Texts;
    QVector<Place> m_Targets;
    QStringList m_Complaints;
};

} // namespace KivTest

#endif // KIV_TESTS_DESIGNCHECK_H
