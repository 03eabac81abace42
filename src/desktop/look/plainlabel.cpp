#include "desktop/look/plainlabel.h"

#include <QEvent>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace
{
// A line as wide as that needs no more room than it gets.
constexpr int WidestHintCharacters = 60;

// A layout is told the width by its lines, so it is made afresh for each question.
qreal LayOutLines(QTextLayout& Layout, int WidthPx)
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    Layout.setTextOption(option);
    qreal heightPx = 0.0;
    Layout.beginLayout();
    for (QTextLine line = Layout.createLine(); line.isValid(); line = Layout.createLine())
    {
        line.setLineWidth(std::max(WidthPx, 1));
        line.setPosition({0.0, heightPx});
        heightPx += line.height();
    }
    Layout.endLayout();
    return heightPx;
}

// What does not fit into the height is left out at the end of the last line that does.
void DrawLines(QPainter& Painter, const QTextLayout& Layout, QSize Room)
{
    const auto bottomPx = [&](int Line)
    { return Layout.lineAt(Line).y() + Layout.lineAt(Line).height(); };
    for (int i = 0; i < Layout.lineCount(); ++i)
    {
        const QTextLine line = Layout.lineAt(i);
        if (i + 1 < Layout.lineCount() && std::floor(bottomPx(i + 1)) > Room.height())
        {
            const QString rest = Layout.text().mid(line.textStart()).simplified();
            const QFontMetrics metrics(Layout.font());
            Painter.setFont(Layout.font());
            Painter.drawText(QPointF(0.0, line.y() + line.ascent()),
                             metrics.elidedText(rest, Qt::ElideRight, Room.width()));
            return;
        }
        line.draw(&Painter, {0.0, 0.0});
    }
}

QString WithLineBreaks(QString Text)
{
    return Text.replace('\n', QChar::LineSeparator);
}

QString OnOneLine(QString Text)
{
    return Text.replace('\n', ' ');
}
} // namespace

PlainLabel::PlainLabel(Overflow NewOverflow, QWidget* pParent)
    : QLabel(pParent)
    , WhenTooLong(NewOverflow)
{
    setTextFormat(Qt::PlainText);
    const bool bWrap = WhenTooLong == Overflow::Wrap;
    setWordWrap(bWrap); // makes it a widget whose height follows its width
    setSizePolicy(QSizePolicy::Ignored, bWrap ? QSizePolicy::Preferred : QSizePolicy::Fixed);
}

void PlainLabel::Show(const QString& NewText)
{
    if (NewText != text())
    {
        setText(NewText);
        UpdateToolTip();
    }
}

void PlainLabel::KeepRoomFor(const QString& Text)
{
    LongestExpected = Text;
    updateGeometry();
}

QSize PlainLabel::sizeHint() const
{
    const QFontMetrics metrics = fontMetrics();
    const int widestPx = metrics.averageCharWidth() * WidestHintCharacters;
    const int widthPx = std::min(metrics.horizontalAdvance(OnOneLine(text())), widestPx);
    return {widthPx, WhenTooLong == Overflow::Wrap ? heightForWidth(widthPx) : metrics.height()};
}

QSize PlainLabel::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

bool PlainLabel::hasHeightForWidth() const
{
    return WhenTooLong == Overflow::Wrap;
}

int PlainLabel::heightForWidth(int Width) const
{
    if (WhenTooLong == Overflow::ElideMiddle)
    {
        return -1;
    }
    return std::max(HeightPx(text(), Width), HeightPx(LongestExpected, Width));
}

int PlainLabel::HeightPx(const QString& Text, int WidthPx) const
{
    QTextLayout layout(WithLineBreaks(Text), font());
    const int heightPx = static_cast<int>(std::ceil(LayOutLines(layout, WidthPx)));
    return std::max(heightPx, fontMetrics().height());
}

void PlainLabel::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    if (WhenTooLong == Overflow::ElideMiddle)
    {
        painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         ElidedText());
        return;
    }
    QTextLayout layout(WithLineBreaks(text()), font());
    LayOutLines(layout, width());
    DrawLines(painter, layout, size());
}

void PlainLabel::resizeEvent(QResizeEvent* pEvent)
{
    QLabel::resizeEvent(pEvent);
    UpdateToolTip();
}

void PlainLabel::changeEvent(QEvent* pEvent)
{
    QLabel::changeEvent(pEvent);
    if (pEvent->type() == QEvent::FontChange)
    {
        UpdateToolTip();
        updateGeometry();
    }
}

QString PlainLabel::ElidedText() const
{
    return fontMetrics().elidedText(OnOneLine(text()), Qt::ElideMiddle, width());
}

bool PlainLabel::IsTextLeftOut() const
{
    return WhenTooLong == Overflow::ElideMiddle ? ElidedText() != OnOneLine(text())
                                                : HeightPx(text(), width()) > height();
}

void PlainLabel::UpdateToolTip()
{
    setToolTip(IsTextLeftOut() ? PlainToolTip(text()) : QString());
}

QString PlainToolTip(const QString& Text)
{
    return Text.isEmpty() ? QString() : "<span>" + Text.toHtmlEscaped() + "</span>";
}
