#include "ui/ChannelPanel.h"

#include <QAbstractItemDelegate>
#include <QEvent>
#include <QListWidget>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
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
    // The tab bar and the lists are the stops of the Tab cycle; the tab widget
    // itself would be a second stop that only forwards to its bar, on the
    // forward walk alone. The arrow keys scroll the bar, so its scroll
    // buttons need no stop either.
    tabs->setFocusProxy(nullptr);
    tabs->setFocusPolicy(Qt::NoFocus);
    for (QToolButton* scroll : tabs->tabBar()->findChildren<QToolButton*>())
        scroll->setFocusPolicy(Qt::NoFocus);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tabs);

    for (const QString& name : kStandardChannels)
        ensureChannel(name);
    connect(tabs, &QTabWidget::currentChanged, this, &ChannelPanel::onCurrentTabChanged);
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
    list->installEventFilter(this);
    list->viewport()->installEventFilter(this);

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
    const int index = tabs->addTab(list, name);
    // A channel that appears later joins the Tab order beside the others.
    if (index > 0)
        setTabOrder(tabs->widget(index - 1), list);
    return index;
}

QList<QWidget*> ChannelPanel::focusOrder() const
{
    QList<QWidget*> order{tabs->tabBar()};
    for (int i = 0; i < tabs->count(); ++i)
        order.append(tabs->widget(i));
    return order;
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

    measureItems(list, list->count() - 1);
    if (anchor && !anchorDropped)
        list->scrollToItem(anchor, QAbstractItemView::PositionAtTop);
}

// A list re-lays out all of its lines whenever one is added, and a wrapped
// line costs a full text layout to measure: with a busy channel that was most
// of the panel's work. Each line is therefore measured once, when it arrives,
// and keeps its height as a size hint until the list's width changes.
void ChannelPanel::measureItems(QListWidget* list, int from)
{
    const int width = list->viewport()->width();
    // A hidden list may not know its width yet; it is measured when shown.
    if (!list->isVisible() || width <= 0) {
        measuredWidth.remove(list);
        return;
    }
    if (measuredWidth.value(list, -1) != width) {
        measuredWidth.insert(list, width);
        from = 0;
    }

    // The options the list itself lays its lines out with.
    QStyleOptionViewItem option;
    option.initFrom(list);
    option.state &= ~QStyle::State_MouseOver;
    option.font = list->font();
    option.widget = list;
    option.locale = list->locale();
    option.features = QStyleOptionViewItem::WrapText;
    option.textElideMode = list->textElideMode();
    option.decorationPosition = QStyleOptionViewItem::Left;
    option.displayAlignment = Qt::AlignLeft | Qt::AlignVCenter;
    option.rect = QRect(0, 0, width, list->viewport()->height());

    QAbstractItemDelegate* delegate = list->itemDelegate();
    for (int row = qMax(from, 0); row < list->count(); ++row) {
        QListWidgetItem* item = list->item(row);
        // A stored hint is what the delegate would answer: drop it first.
        if (item->data(Qt::SizeHintRole).isValid())
            item->setData(Qt::SizeHintRole, QVariant());
        item->setSizeHint(delegate->sizeHint(option, list->indexFromItem(item)));
    }
    if (from <= 0)
        list->doItemsLayout();
}

bool ChannelPanel::eventFilter(QObject* watched, QEvent* event)
{
    // A new font or style changes every line's height; a new width (seen on
    // the viewport, whose parent is the list) may change their wrapping.
    const QEvent::Type type = event->type();
    auto* list = qobject_cast<QListWidget*>(watched);
    if (list && (type == QEvent::FontChange || type == QEvent::StyleChange))
        measuredWidth.remove(list);
    else if (type == QEvent::Resize)
        list = qobject_cast<QListWidget*>(watched->parent());
    else
        list = nullptr;

    if (list && measuredWidth.value(list, -1) != list->viewport()->width())
        QMetaObject::invokeMethod(
            list, [this, list] { measureItems(list, list->count()); }, Qt::QueuedConnection);
    return QWidget::eventFilter(watched, event);
}

void ChannelPanel::onCurrentTabChanged(int index)
{
    if (auto* list = qobject_cast<QListWidget*>(tabs->widget(index)))
        measureItems(list, list->count());
}

void ChannelPanel::clearChannel(const QString& channel)
{
    if (QListWidget* list = channels.value(channel))
        list->clear();
}
