#include "desktop/notify/notificationoverlay.h"

#include "desktop/look/theme.h"
#include "desktop/notify/notificationcard.h"

#include <QEvent>

#include <algorithm>
#include <utility>

namespace
{
constexpr int WidestPx = 340;
constexpr int MarginPx = 12;
constexpr int SpacingPx = 8;
} // namespace

NotificationOverlay::NotificationOverlay(QWidget& VideoArea)
    : QWidget(&VideoArea)
{
    VideoArea.installEventFilter(this);
    hide();
}

void NotificationOverlay::Add(const Movane::Notification& Shown,
                              const QString& ActionText,
                              std::function<void()> Action)
{
    auto* const card = new NotificationCard(Shown, ActionText, std::move(Action), this);
    connect(card, &NotificationCard::Finished, this, [this, card] { Remove(card); });
    card->show();
    Cards.push_back(card);
    Arrange();
}

void NotificationOverlay::Remove(NotificationCard* pCard)
{
    std::erase(Cards, pCard);
    pCard->hide();
    pCard->deleteLater();
    Arrange();
}

// The overlay is as large as its cards, so that a click beside them reaches the video.
void NotificationOverlay::Arrange()
{
    const int marginPx = Theme::ScaledPx(MarginPx);
    const int spacingPx = Theme::ScaledPx(SpacingPx);
    const QSize area = parentWidget()->size() - QSize(2 * marginPx, 2 * marginPx);
    const int widthPx = std::max(std::min(area.width(), Theme::ScaledPx(WidestPx)), 1);

    std::vector<int> heightsPx;
    int totalPx = -spacingPx;
    for (const NotificationCard* const card : Cards)
    {
        heightsPx.push_back(std::min(card->HeightForPx(widthPx), std::max(area.height(), 1)));
        totalPx += heightsPx.back() + spacingPx;
    }
    // The newest stays even where it is too large itself: its text is shortened.
    if (Cards.size() > 1 && totalPx > area.height())
    {
        Remove(Cards.front());
        return;
    }
    int top = 0;
    for (std::size_t i = 0; i < Cards.size(); ++i)
    {
        Cards[i]->setGeometry(0, top, widthPx, heightsPx[i]);
        top += heightsPx[i] + spacingPx;
    }
    const int heightPx = std::min(totalPx, std::max(area.height(), 1));
    setGeometry(marginPx + area.width() - widthPx, marginPx + area.height() - heightPx, widthPx,
                heightPx);
    setVisible(!Cards.empty());
    raise();
}

bool NotificationOverlay::eventFilter(QObject* pWatched, QEvent* pEvent)
{
    if (pWatched == parentWidget() && pEvent->type() == QEvent::Resize && !Cards.empty())
    {
        Arrange();
    }
    return QWidget::eventFilter(pWatched, pEvent);
}

// A card asks for another height, with larger text for example.
bool NotificationOverlay::event(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::LayoutRequest)
    {
        Arrange();
    }
    return QWidget::event(pEvent);
}
