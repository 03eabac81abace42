// A label for text that comes from elsewhere, a file's name for example: shown as it is, never read as
// markup, and never cut off.
//
// What has no room is either left out in the middle of the line or put on further lines, between words
// where possible. Where the lines have no room either, the last that has ends with an ellipsis. While
// something is left out, the tooltip has all of the text. UI thread only.

#pragma once

#include <QLabel>

class PlainLabel : public QLabel
{
    Q_OBJECT

public:
    enum class Overflow
    {
        ElideMiddle, ///< one line
        Wrap,        ///< as many lines as it takes
    };

    explicit PlainLabel(Overflow NewOverflow, QWidget* pParent = nullptr);

    /// Shows another text; the same one again costs a comparison.
    void Show(const QString& NewText);
    /// Never asks for fewer lines than Text takes, so that what stands below does not move while the text
    /// is no longer than that. For Overflow::Wrap.
    void KeepRoomFor(const QString& Text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int Width) const override;

protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;

private:
    int HeightPx(const QString& Text, int WidthPx) const;
    QString ElidedText() const;
    bool IsTextLeftOut() const;
    void UpdateToolTip();

    Overflow WhenTooLong;
    QString LongestExpected;
};

/// Text as a tooltip that shows it literally: a tooltip takes what looks like markup for markup.
QString PlainToolTip(const QString& Text);
