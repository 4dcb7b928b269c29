#include "ui/ChannelPanel.h"

#include <QListWidget>
#include <QScrollBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "ui/Theme.h"

namespace {

const QStringList kStandardChannels = {
    QStringLiteral("OOC"),      QStringLiteral("Chat"),      QStringLiteral("Quest"),
    QStringLiteral("Announce"), QStringLiteral("Broadcast"), QStringLiteral("Combat"),
    QStringLiteral("Emote"),    QStringLiteral("Tell"),      QStringLiteral("System")};

} // namespace

ChannelPanel::ChannelPanel(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(Theme::panelStyleSheet());

    tabs = new QTabWidget(this);
    tabs->setAccessibleName(tr("Channels"));
    tabs->setDocumentMode(true);
    // Nine standard tabs and any custom ones do not fit a side panel: scroll
    // the tab bar instead of squeezing the names.
    tabs->setUsesScrollButtons(true);
    tabs->setElideMode(Qt::ElideNone);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tabs);

    for (const QString& name : kStandardChannels)
        ensureChannel(name);
}

int ChannelPanel::ensureChannel(const QString& name)
{
    if (QListWidget* existing = channels.value(name))
        return tabs->indexOf(existing);

    auto* list = new QListWidget(tabs);
    list->setAccessibleName(tr("%1 channel").arg(name));
    list->setWordWrap(true);
    list->setTextElideMode(Qt::ElideNone);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    channels.insert(name, list);
    followsNewest.insert(list, true);

    // The list lays its items out lazily (a hidden tab not at all), so the
    // jump to the newest line happens when the scroll range grows, not in
    // addMessage: a tab shown later then opens at its newest line too.
    QScrollBar* bar = list->verticalScrollBar();
    connect(bar, &QScrollBar::rangeChanged, list, [this, list, bar](int, int max) {
        if (followsNewest.value(list))
            bar->setValue(max);
    });
    connect(bar, &QScrollBar::valueChanged, list,
            [this, list, bar](int value) { followsNewest[list] = value >= bar->maximum(); });
    return tabs->addTab(list, name);
}

void ChannelPanel::addMessage(const QString& channel, const QString& text)
{
    QListWidget* list = channels.value(channel);
    if (!list)
        list = qobject_cast<QListWidget*>(tabs->widget(ensureChannel(channel)));

    // Trimming the oldest lines would otherwise slide the text under a
    // player who scrolled up, so the line at the top is held in place.
    const bool willTrim = list->count() >= kMaxLinesPerChannel;
    QListWidgetItem* anchor =
        willTrim && !followsNewest.value(list) && list->isVisible() ? list->itemAt(0, 0) : nullptr;

    list->addItem(text);
    bool anchorDropped = false;
    while (list->count() > kMaxLinesPerChannel) {
        QListWidgetItem* oldest = list->takeItem(0);
        anchorDropped = anchorDropped || oldest == anchor;
        delete oldest;
    }

    if (anchor && !anchorDropped)
        list->scrollToItem(anchor, QAbstractItemView::PositionAtTop);
}

void ChannelPanel::clearChannel(const QString& channel)
{
    if (QListWidget* list = channels.value(channel))
        list->clear();
}
