#include "ui/ConnectScreen.h"

#include <QBrush>
#include <QColor>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMap>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "storage/Storage.h"
#include "ui/Theme.h"

namespace {

constexpr int kRowPointSize = 10;

QPushButton* makeButton(const QString& text, const QString& objectName, const QString& accessibleName,
                        QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setObjectName(objectName);
    button->setAccessibleName(accessibleName);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

bool isCharacterRow(const QTreeWidgetItem* item)
{
    return item && item->data(0, Qt::UserRole).userType() == qMetaTypeId<Character>();
}

} // namespace

ConnectScreen::ConnectScreen(QWidget* parent)
    : QWidget(parent)
{
    setupUi();
    loadCharacters();
}

void ConnectScreen::setupUi()
{
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(Theme::connectScreenStyleSheet());

    QWidget* header = buildHeader();
    QLabel* section = buildCharacterList();
    buildButtons();

    auto* buttonRow = new QHBoxLayout;
    buttonRow->setSpacing(8);
    for (QPushButton* button : {addButton, editButton, deleteButton, featuresButton})
        buttonRow->addWidget(button);
    buttonRow->addStretch(1);
    buttonRow->addWidget(connectButton);

    auto* body = new QVBoxLayout;
    body->setContentsMargins(24, 20, 24, 24);
    body->setSpacing(10);
    body->addWidget(section);
    body->addWidget(tree, 1);
    body->addLayout(buttonRow);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(header);
    layout->addLayout(body, 1);

    // Keyboard path: the list first, then the buttons left to right.
    setFocusProxy(tree);
    setTabOrder(tree, addButton);
    setTabOrder(addButton, editButton);
    setTabOrder(editButton, deleteButton);
    setTabOrder(deleteButton, featuresButton);
    setTabOrder(featuresButton, connectButton);

    QObject::connect(addButton, &QPushButton::clicked, this, &ConnectScreen::onAddClicked);
    QObject::connect(editButton, &QPushButton::clicked, this, &ConnectScreen::onEditClicked);
    QObject::connect(deleteButton, &QPushButton::clicked, this, &ConnectScreen::onDeleteClicked);
    QObject::connect(connectButton, &QPushButton::clicked, this, &ConnectScreen::onConnectClicked);
    QObject::connect(featuresButton, &QPushButton::clicked, this, &ConnectScreen::onFeaturesClicked);
    QObject::connect(tree, &QTreeWidget::currentItemChanged, this, &ConnectScreen::onCurrentItemChanged);
}

QWidget* ConnectScreen::buildHeader()
{
    auto* header = new QFrame(this);
    header->setObjectName(QStringLiteral("connectHeader"));
    auto* title = new QLabel(Theme::kProductName, header);
    title->setObjectName(QStringLiteral("connectTitle"));
    auto* subtitle =
        new QLabel(QStringLiteral("v%1 • Select a character to begin").arg(Theme::kProductVersion), header);
    subtitle->setObjectName(QStringLiteral("connectSubtitle"));
    auto* headerLayout = new QVBoxLayout(header);
    headerLayout->setContentsMargins(24, 20, 24, 18);
    headerLayout->setSpacing(4);
    headerLayout->addWidget(title);
    headerLayout->addWidget(subtitle);
    return header;
}

QLabel* ConnectScreen::buildCharacterList()
{
    auto* section = new QLabel(QStringLiteral("Available Characters"), this);
    section->setObjectName(QStringLiteral("sectionLabel"));
    // Letter spacing is not a style sheet property, so the font carries it.
    QFont sectionFont = section->font();
    sectionFont.setPixelSize(10);
    sectionFont.setBold(true);
    sectionFont.setLetterSpacing(QFont::AbsoluteSpacing, 1);
    section->setFont(sectionFont);

    tree = new QTreeWidget(this);
    tree->setObjectName(QStringLiteral("characterTree"));
    tree->setAccessibleName(tr("Characters"));
    tree->setColumnCount(2);
    tree->setHeaderLabels({QStringLiteral("Character"), QStringLiteral("Server")});
    tree->setMinimumHeight(200);
    // Groups are always open and only buttons (or keys) act on a row: no
    // branch arrows to collapse a group, and double-click does nothing.
    tree->setRootIsDecorated(false);
    tree->setItemsExpandable(false);
    tree->setExpandsOnDoubleClick(false);
    tree->setSelectionMode(QAbstractItemView::SingleSelection);
    tree->header()->setStretchLastSection(true);
    tree->installEventFilter(this);
    section->setBuddy(tree);
    return section;
}

void ConnectScreen::buildButtons()
{
    addButton =
        makeButton(QStringLiteral("+ Add New"), QStringLiteral("addButton"), tr("Add new character"), this);
    editButton =
        makeButton(QStringLiteral("✎ Edit"), QStringLiteral("editButton"), tr("Edit character"), this);
    deleteButton =
        makeButton(QStringLiteral("⊘ Delete"), QStringLiteral("deleteButton"), tr("Delete character"), this);
    featuresButton = makeButton(QStringLiteral("☰ Features"), QStringLiteral("featuresButton"),
                                tr("Character features"), this);
    connectButton =
        makeButton(QStringLiteral("⚡ CONNECT"), QStringLiteral("connectButton"), tr("Connect"), this);
}

QList<Character> ConnectScreen::getCharacters() const
{
    return Storage::instance()->getCharacters();
}

void ConnectScreen::loadCharacters()
{
    // A reload (after an edit, say) keeps the row the player was on.
    const std::optional<Character> previous = currentCharacter();

    tree->clear();
    const QList<Character> characters = getCharacters();

    // Ascending host order for the groups, stored order within each group.
    QMap<QString, QList<int>> byHost;
    for (int i = 0; i < characters.size(); ++i)
        byHost[characters.at(i).host].append(i);

    QList<QTreeWidgetItem*> rowOfStoredIndex(characters.size(), nullptr);
    for (auto it = byHost.cbegin(); it != byHost.cend(); ++it)
        addHostGroup(it.key(), characters, it.value(), rowOfStoredIndex);
    tree->expandAll();
    tree->resizeColumnToContents(0);
    tree->resizeColumnToContents(1);

    // Preselect so Enter or CONNECT works at once: the row the player was on,
    // else the character played last.
    QTreeWidgetItem* preselect = nullptr;
    if (previous) {
        for (QTreeWidgetItem* row : std::as_const(rowOfStoredIndex)) {
            if (row->data(0, Qt::UserRole).value<Character>() == *previous) {
                preselect = row;
                break;
            }
        }
    }
    const int activeIndex = Storage::instance()->getActiveCharacterIndex();
    if (!preselect && activeIndex >= 0 && activeIndex < rowOfStoredIndex.size())
        preselect = rowOfStoredIndex.at(activeIndex);
    tree->setCurrentItem(preselect);
    onCurrentItemChanged();
}

void ConnectScreen::addHostGroup(const QString& host, const QList<Character>& characters,
                                 const QList<int>& indexes, QList<QTreeWidgetItem*>& rowOfStoredIndex)
{
    QFont groupFont = tree->font();
    groupFont.setPointSize(kRowPointSize);
    groupFont.setWeight(QFont::Bold);
    QFont rowFont = tree->font();
    rowFont.setPointSize(kRowPointSize);
    const QBrush groupText{QColor(Theme::kAccent)};
    const QBrush groupBackground{QColor(Theme::kComponentBackground)};
    const QBrush rowText{QColor(Theme::kTextSoft)};

    auto* group = new QTreeWidgetItem(tree);
    group->setText(0, QStringLiteral("%1  (%2)").arg(host).arg(indexes.size()));
    group->setFlags(Qt::ItemIsEnabled);
    group->setFirstColumnSpanned(true);
    for (int column = 0; column < 2; ++column) {
        group->setFont(column, groupFont);
        group->setForeground(column, groupText);
        group->setBackground(column, groupBackground);
    }
    for (int index : indexes) {
        const Character& character = characters.at(index);
        auto* row = new QTreeWidgetItem(group);
        row->setText(0, character.name);
        row->setText(1, QStringLiteral("%1:%2").arg(character.host).arg(character.port));
        row->setData(0, Qt::UserRole, QVariant::fromValue(character));
        for (int column = 0; column < 2; ++column) {
            row->setFont(column, rowFont);
            row->setForeground(column, rowText);
        }
        rowOfStoredIndex[index] = row;
    }
}

void ConnectScreen::onAddClicked()
{
    emit addCharacter();
}

void ConnectScreen::onEditClicked()
{
    if (const std::optional<Character> character = currentCharacter())
        emit editCharacter(*character);
}

void ConnectScreen::onDeleteClicked()
{
    if (const std::optional<Character> character = currentCharacter())
        emit deleteCharacter(*character);
}

void ConnectScreen::onConnectClicked()
{
    if (const std::optional<Character> character = currentCharacter())
        emit connect(*character);
}

void ConnectScreen::onFeaturesClicked()
{
    if (const std::optional<Character> character = currentCharacter())
        emit editFeatures(*character);
}

std::optional<Character> ConnectScreen::currentCharacter() const
{
    const QTreeWidgetItem* item = tree->currentItem();
    if (!isCharacterRow(item))
        return std::nullopt;
    return item->data(0, Qt::UserRole).value<Character>();
}

void ConnectScreen::onCurrentItemChanged()
{
    const bool onCharacter = currentCharacter().has_value();
    editButton->setEnabled(onCharacter);
    deleteButton->setEnabled(onCharacter);
    featuresButton->setEnabled(onCharacter);
    connectButton->setEnabled(onCharacter);
}

void ConnectScreen::moveToCharacterRow(bool down)
{
    // Group rows cannot be picked, so the arrow keys step over them.
    QList<QTreeWidgetItem*> rows;
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QTreeWidgetItem* group = tree->topLevelItem(g);
        for (int c = 0; c < group->childCount(); ++c)
            rows.append(group->child(c));
    }
    if (rows.isEmpty())
        return;
    const int at = rows.indexOf(tree->currentItem());
    int next = 0;
    if (at < 0)
        next = down ? 0 : int(rows.size()) - 1;
    else
        next = qBound(0, down ? at + 1 : at - 1, int(rows.size()) - 1);
    tree->setCurrentItem(rows.at(next));
    tree->scrollToItem(rows.at(next));
}

bool ConnectScreen::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != tree || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() & ~Qt::KeypadModifier)
        return false;
    switch (key->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        onConnectClicked();
        return true;
    case Qt::Key_Delete:
        // Only a request: the main window asks before anything is removed.
        onDeleteClicked();
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
        moveToCharacterRow(key->key() == Qt::Key_Down);
        return true;
    default:
        return false;
    }
}
