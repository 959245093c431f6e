#include "varnicons.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QXmlStreamReader>

#include <memory>

// Resources of a static library are registered by hand, once.
static void registerBundledIcons()
{
    static const bool done = [] {
        Q_INIT_RESOURCE(varnicons);
        return true;
    }();
    Q_UNUSED(done);
}

namespace {

// One shape of a drawing, in the 24 x 24 units of its view box. "currentColor"
// is kept as an invalid colour and resolved when painted.
struct Shape {
    QPainterPath path;
    bool filled = false;
    bool stroked = false;
    bool fillCurrent = true;
    bool strokeCurrent = true;
    QColor fill;
    QColor stroke;
    double strokeWidth = 1.0;
    double opacity = 1.0;
};

struct Drawing {
    QRectF viewBox{0, 0, 24, 24};
    QList<Shape> shapes;
};

// Numbers of a path's data or a points list: signs and commas separate them.
class NumberReader {
public:
    explicit NumberReader(QStringView text) : m_text(text) {}

    bool atCommand()
    {
        skipSeparators();
        return m_pos < m_text.size() && m_text[m_pos].isLetter() && m_text[m_pos] != u'e' && m_text[m_pos] != u'E';
    }
    bool atEnd()
    {
        skipSeparators();
        return m_pos >= m_text.size();
    }
    QChar command() { return m_text[m_pos++]; }
    double number()
    {
        skipSeparators();
        const qsizetype start = m_pos;
        if (m_pos < m_text.size() && (m_text[m_pos] == u'-' || m_text[m_pos] == u'+')) {
            ++m_pos;
        }
        bool dot = false;
        while (m_pos < m_text.size()) {
            const QChar c = m_text[m_pos];
            if (c.isDigit()) {
                ++m_pos;
            } else if (c == u'.' && !dot) {
                dot = true;
                ++m_pos;
            } else {
                break;
            }
        }
        return m_text.mid(start, m_pos - start).toDouble();
    }

private:
    void skipSeparators()
    {
        while (m_pos < m_text.size() && (m_text[m_pos].isSpace() || m_text[m_pos] == u',')) {
            ++m_pos;
        }
    }

    QStringView m_text;
    qsizetype m_pos = 0;
};

// M, L, H, V, C, S, Q, Z in both cases: what our drawings are made of.
QPainterPath parsePathData(QStringView data)
{
    QPainterPath path;
    NumberReader in(data);
    QChar command;
    QPointF current;
    QPointF lastControl;
    while (!in.atEnd()) {
        if (in.atCommand()) {
            command = in.command();
        } else if (command.isNull()) {
            break;
        }
        const bool relative = command.isLower();
        const QPointF origin = relative ? current : QPointF();
        const auto point = [&] {
            const double x = in.number();
            return origin + QPointF(x, in.number());
        };
        switch (command.toUpper().unicode()) {
        case 'M':
            current = point();
            path.moveTo(current);
            command = relative ? QChar(u'l') : QChar(u'L'); // further pairs are lines
            break;
        case 'L':
            current = point();
            path.lineTo(current);
            break;
        case 'H':
            current.setX(in.number() + (relative ? current.x() : 0));
            path.lineTo(current);
            break;
        case 'V':
            current.setY(in.number() + (relative ? current.y() : 0));
            path.lineTo(current);
            break;
        case 'C': {
            const QPointF c1 = point();
            const QPointF c2 = point();
            current = point();
            path.cubicTo(c1, c2, current);
            lastControl = c2;
            break;
        }
        case 'S': {
            const QPointF c1 = 2 * current - lastControl;
            const QPointF c2 = point();
            current = point();
            path.cubicTo(c1, c2, current);
            lastControl = c2;
            break;
        }
        case 'Q': {
            const QPointF c = point();
            current = point();
            path.quadTo(c, current);
            break;
        }
        case 'Z':
            path.closeSubpath();
            current = path.currentPosition();
            command = QChar();
            break;
        default:
            Q_ASSERT_X(false, "parsePathData", "a bundled icon uses a path command we do not draw");
            return path;
        }
    }
    return path;
}

// Presentation attributes, inherited from <svg> and <g> down to each shape.
struct Style {
    QString fill = QStringLiteral("currentColor");
    QString stroke = QStringLiteral("none");
    double strokeWidth = 1.0;
    double opacity = 1.0;
};

Style inherit(const Style &parent, const QXmlStreamAttributes &attributes)
{
    Style style = parent;
    if (attributes.hasAttribute(QLatin1String("fill"))) {
        style.fill = attributes.value(QLatin1String("fill")).toString();
    }
    if (attributes.hasAttribute(QLatin1String("stroke"))) {
        style.stroke = attributes.value(QLatin1String("stroke")).toString();
    }
    if (attributes.hasAttribute(QLatin1String("stroke-width"))) {
        style.strokeWidth = attributes.value(QLatin1String("stroke-width")).toDouble();
    }
    if (attributes.hasAttribute(QLatin1String("opacity"))) {
        style.opacity = parent.opacity * attributes.value(QLatin1String("opacity")).toDouble();
    }
    return style;
}

Drawing parseDrawing(const QByteArray &svg)
{
    Drawing drawing;
    QXmlStreamReader xml(svg);
    QList<Style> styles{Style{}};
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            styles.removeLast();
            continue;
        }
        if (token != QXmlStreamReader::StartElement) {
            continue;
        }
        const QXmlStreamAttributes a = xml.attributes();
        const Style style = inherit(styles.last(), a);
        styles.append(style);
        const auto num = [&a](const char *name) { return a.value(QLatin1String(name)).toDouble(); };
        const QStringView element = xml.name();
        QPainterPath path;
        if (element == u"svg") {
            const QStringList box = a.value(QLatin1String("viewBox")).toString().split(u' ', Qt::SkipEmptyParts);
            if (box.size() == 4) {
                drawing.viewBox = QRectF(box[0].toDouble(), box[1].toDouble(), box[2].toDouble(), box[3].toDouble());
            }
            continue;
        } else if (element == u"path") {
            path = parsePathData(a.value(QLatin1String("d")));
        } else if (element == u"circle") {
            path.addEllipse(QPointF(num("cx"), num("cy")), num("r"), num("r"));
        } else if (element == u"rect") {
            path.addRoundedRect(QRectF(num("x"), num("y"), num("width"), num("height")), num("rx"), num("rx"));
        } else if (element == u"line") {
            path.moveTo(num("x1"), num("y1"));
            path.lineTo(num("x2"), num("y2"));
        } else if (element == u"polyline" || element == u"polygon") {
            NumberReader in(a.value(QLatin1String("points")));
            bool first = true;
            while (!in.atEnd()) {
                const double x = in.number();
                const QPointF p(x, in.number());
                first ? path.moveTo(p) : path.lineTo(p);
                first = false;
            }
            if (element == u"polygon") {
                path.closeSubpath();
            }
        } else {
            continue; // <g> and anything else only carry style
        }
        Shape shape;
        shape.path = path;
        shape.filled = style.fill != u"none";
        shape.stroked = style.stroke != u"none";
        shape.fillCurrent = style.fill == u"currentColor";
        shape.strokeCurrent = style.stroke == u"currentColor";
        shape.fill = QColor(style.fill);
        shape.stroke = QColor(style.stroke);
        shape.strokeWidth = style.strokeWidth;
        shape.opacity = style.opacity;
        drawing.shapes.append(shape);
    }
    return drawing;
}

// Parsed once per name; icons share the drawing.
std::shared_ptr<const Drawing> drawingNamed(const QString &name)
{
    static QHash<QString, std::shared_ptr<const Drawing>> cache;
    if (const auto found = cache.constFind(name); found != cache.cend()) {
        return *found;
    }
    registerBundledIcons();
    QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
    std::shared_ptr<const Drawing> drawing;
    if (file.open(QIODevice::ReadOnly)) {
        drawing = std::make_shared<const Drawing>(parseDrawing(file.readAll()));
    }
    cache.insert(name, drawing);
    return drawing;
}

class SvgIconEngine final : public QIconEngine {
public:
    SvgIconEngine(std::shared_ptr<const Drawing> drawing, QColor tint)
        : m_drawing(std::move(drawing)), m_tint(std::move(tint))
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        const QColor current = colourFor(mode);
        const QRectF box = m_drawing->viewBox;
        const double scale = std::min(rect.width() / box.width(), rect.height() / box.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.center() - QPointF(box.width() * scale, box.height() * scale) / 2 + QPointF(0.5, 0.5));
        painter->scale(scale, scale);
        painter->translate(-box.topLeft());
        for (const Shape &shape : m_drawing->shapes) {
            painter->setOpacity(shape.opacity * (mode == QIcon::Disabled ? 0.45 : 1.0));
            painter->setBrush(shape.filled ? QBrush(shape.fillCurrent ? current : shape.fill) : Qt::NoBrush);
            if (shape.stroked) {
                QPen pen(shape.strokeCurrent ? current : shape.stroke, shape.strokeWidth);
                pen.setCapStyle(Qt::RoundCap);
                pen.setJoinStyle(Qt::RoundJoin);
                painter->setPen(pen);
            } else {
                painter->setPen(Qt::NoPen);
            }
            painter->drawPath(shape.path);
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

    QIconEngine *clone() const override { return new SvgIconEngine(m_drawing, m_tint); }
    QString key() const override { return QStringLiteral("VarnSvg"); }

private:
    QColor colourFor(QIcon::Mode mode) const
    {
        if (m_tint.isValid()) {
            return m_tint;
        }
        const QPalette palette = QGuiApplication::palette();
        return mode == QIcon::Selected ? palette.color(QPalette::HighlightedText)
                                       : palette.color(QPalette::Active, QPalette::ButtonText);
    }

    std::shared_ptr<const Drawing> m_drawing;
    QColor m_tint;
};

// Our names and the freedesktop names that mean the same.
const QHash<QString, QString> &themeNames()
{
    static const QHash<QString, QString> names{
        {QStringLiteral("new"), QStringLiteral("document-new")},
        {QStringLiteral("open"), QStringLiteral("document-open")},
        {QStringLiteral("save"), QStringLiteral("document-save")},
        {QStringLiteral("save-as"), QStringLiteral("document-save-as")},
        {QStringLiteral("find"), QStringLiteral("edit-find")},
        {QStringLiteral("replace"), QStringLiteral("edit-find-replace")},
        {QStringLiteral("goto"), QStringLiteral("go-jump")},
        {QStringLiteral("refresh"), QStringLiteral("view-refresh")},
        {QStringLiteral("close"), QStringLiteral("window-close")},
        {QStringLiteral("plus"), QStringLiteral("list-add")},
    };
    return names;
}

} // namespace

namespace VarnIcons {

QIcon bundled(const QString &name, const QColor &tint)
{
    std::shared_ptr<const Drawing> drawing = drawingNamed(name);
    if (!drawing || drawing->shapes.isEmpty()) {
        return QIcon();
    }
    return QIcon(new SvgIconEngine(std::move(drawing), tint));
}

QIcon icon(const QString &name)
{
    if (const auto theme = themeNames().constFind(name); theme != themeNames().cend() && QIcon::hasThemeIcon(*theme)) {
        const QIcon themed = QIcon::fromTheme(*theme);
        if (!themed.isNull()) {
            return themed;
        }
    }
    return bundled(name);
}

QStringList bundledNames()
{
    registerBundledIcons();
    QStringList names;
    for (const QString &file : QDir(QStringLiteral(":/icons")).entryList({QStringLiteral("*.svg")}, QDir::Files)) {
        names.append(file.chopped(4));
    }
    return names;
}

} // namespace VarnIcons
