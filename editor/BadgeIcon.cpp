#include "BadgeIcon.h"

#include "editor/EditorColors.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>

namespace ConfigScript {

namespace {

enum class Shape { Dot, Disc, Triangle, Rings, Dots };

/// Paints a mark at whatever size and resolution is asked for.
class Engine : public QIconEngine
{
public:
    explicit Engine(Shape shape)
        : m_shape(shape)
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode,
               QIcon::State /*state*/) override
    {
        const QPalette palette = QGuiApplication::palette();
        const EditorColors colors(palette);
        const bool isSelected = mode == QIcon::Selected;
        const QColor &highlighted = palette.color(QPalette::HighlightedText);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.center() + QPointF(0.5, 0.5));
        const qreal unit = qMin(rect.width(), rect.height()) / 16.0;
        painter->scale(unit, unit);
        switch (m_shape) {
        case Shape::Dot:
            painter->setPen(Qt::NoPen);
            painter->setBrush(isSelected ? highlighted : palette.color(QPalette::Text));
            painter->drawEllipse(QPointF(0, 0), 3.5, 3.5);
            break;
        case Shape::Disc:
            painter->setPen(Qt::NoPen);
            painter->setBrush(colors.error);
            painter->drawEllipse(QPointF(0, 0), 7, 7);
            paintExclamation(*painter, palette.color(QPalette::Base), 0);
            break;
        case Shape::Triangle:
            painter->setPen(Qt::NoPen);
            painter->setBrush(colors.warning);
            painter->drawPolygon(QPolygonF({{0, -7}, {7.5, 6}, {-7.5, 6}}));
            paintExclamation(*painter, palette.color(QPalette::Base), 1);
            break;
        case Shape::Rings:
            painter->setPen(QPen(isSelected ? highlighted : colors.subdued, 1.6));
            painter->setBrush(Qt::NoBrush);
            painter->drawEllipse(QPointF(-2.6, 0), 3.6, 3.6);
            painter->drawEllipse(QPointF(2.6, 0), 3.6, 3.6);
            break;
        case Shape::Dots:
            painter->setPen(Qt::NoPen);
            painter->setBrush(colors.subdued);
            for (const int place : {-5, 0, 5}) {
                painter->drawEllipse(QPointF(place, 0), 1.6, 1.6);
            }
            break;
        }
        painter->restore();
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine *clone() const override { return new Engine(m_shape); }

private:
    static void paintExclamation(QPainter &painter, const QColor &color, qreal down)
    {
        painter.setPen(QPen(color, 2, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, down - 3.5), QPointF(0, down + 0.8));
        painter.drawPoint(QPointF(0, down + 3.5));
    }

    const Shape m_shape;
};

} // namespace

namespace BadgeIcon {

QIcon unsaved()
{
    return QIcon(new Engine(Shape::Dot));
}

QIcon error()
{
    return QIcon(new Engine(Shape::Disc));
}

QIcon warning()
{
    return QIcon(new Engine(Shape::Triangle));
}

QIcon listed()
{
    return QIcon(new Engine(Shape::Rings));
}

QIcon more()
{
    return QIcon(new Engine(Shape::Dots));
}

} // namespace BadgeIcon

} // namespace ConfigScript
