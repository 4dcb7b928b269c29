#include "ui/Theme.h"

// The long style sheets, kept apart from the palette they are filled from.
namespace Theme {
namespace {

const char* const kApplicationSheetHead = R"css(
QMainWindow, QDialog {
    background-color: @deep@;
    color: @text@;
}
QWidget {
    color: @text@;
}
QLabel {
    background: transparent;
}

QToolTip {
    background-color: @component@;
    color: @text@;
    border: 1px solid @accent@;
    border-radius: 4px;
    padding: 4px 6px;
}

QPushButton {
    background-color: @component@;
    color: @text@;
    border: 1px solid @border@;
    border-radius: 4px;
    padding: 6px 14px;
    min-height: 16px;
}
QPushButton:hover {
    background-color: @hover@;
    border-color: @accent@;
}
QPushButton:focus {
    border-color: @accentEnd@;
}
QPushButton:pressed {
    background-color: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0,
                                      stop: 0 @accent@, stop: 1 @accentEnd@);
    border-color: @accent@;
}
QPushButton:default {
    border-color: @accent@;
}
QPushButton:disabled {
    color: @disabledText@;
    border-color: @disabledBorder@;
}

QLineEdit, QPlainTextEdit, QTextEdit, QSpinBox, QComboBox {
    background-color: @panel@;
    color: @text@;
    border: 1px solid @border@;
    border-radius: 4px;
    selection-background-color: @accent@;
    selection-color: @text@;
}
QLineEdit, QSpinBox, QComboBox {
    padding: 5px 8px;
}
QPlainTextEdit, QTextEdit {
    padding: 4px;
}
QLineEdit:focus, QPlainTextEdit:focus, QTextEdit:focus, QSpinBox:focus, QComboBox:focus {
    border-color: @accent@;
}
QLineEdit:disabled {
    color: @disabledText@;
}
QComboBox::drop-down {
    border: none;
    width: 20px;
}
QComboBox QAbstractItemView {
    background-color: @component@;
    border: 1px solid @border@;
    selection-background-color: @accent@;
}

QCheckBox {
    spacing: 8px;
    background: transparent;
}
QCheckBox::indicator {
    width: 14px;
    height: 14px;
    border: 1px solid @muted@;
    border-radius: 3px;
    background-color: @panel@;
}
QCheckBox::indicator:hover, QCheckBox::indicator:focus {
    border-color: @accent@;
}
QCheckBox::indicator:checked {
    background-color: @accent@;
    border-color: @accentEnd@;
}

QSlider {
    background: transparent;
    min-height: 22px;
}
QSlider::groove:horizontal {
    height: 6px;
    background-color: @border@;
    border-radius: 3px;
}
QSlider::sub-page:horizontal {
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0,
                                stop: 0 @accent@, stop: 1 @accentEnd@);
    border-radius: 3px;
}
QSlider::handle:horizontal {
    background-color: @text@;
    width: 14px;
    margin: -5px 0;
    border-radius: 7px;
}
QSlider::handle:horizontal:hover, QSlider::handle:horizontal:focus {
    background-color: @accentEnd@;
}

QTabWidget::pane {
    background-color: @component@;
    border: 1px solid @border@;
    border-radius: 4px;
    top: -1px;
}
)css";

const char* const kApplicationSheetTail = R"css(QTabBar::scroller {
    width: 20px;
}

QScrollBar:vertical {
    background-color: @panel@;
    width: 10px;
    margin: 0;
}
QScrollBar:horizontal {
    background-color: @panel@;
    height: 10px;
    margin: 0;
}
QScrollBar::handle:vertical {
    background-color: @border@;
    min-height: 24px;
    border-radius: 4px;
    margin: 1px;
}
QScrollBar::handle:horizontal {
    background-color: @border@;
    min-width: 24px;
    border-radius: 4px;
    margin: 1px;
}
QScrollBar::handle:hover {
    background-color: @accent@;
}
QScrollBar::add-line, QScrollBar::sub-line {
    width: 0;
    height: 0;
}
QScrollBar::add-page, QScrollBar::sub-page {
    background: none;
}

QProgressBar {
    background-color: @panel@;
    color: @text@;
    border: 1px solid @border@;
    border-radius: 4px;
    text-align: center;
    min-height: 16px;
}
QProgressBar::chunk {
    border-radius: 3px;
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0,
                                stop: 0 @accent@, stop: 1 @accentEnd@);
}
QProgressBar#@kiBar@::chunk {
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0,
                                stop: 0 @kiStart@, stop: 1 @secondary@);
}
QProgressBar#@fatigueBar@::chunk {
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0,
                                stop: 0 @fatigueStart@, stop: 1 @fatigueEnd@);
}
QProgressBar#@opponentHealthBar@::chunk {
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0,
                                stop: 0 @opponentStart@, stop: 1 @opponentEnd@);
}

QGroupBox {
    border: 1px solid @border@;
    border-radius: 6px;
    margin-top: 14px;
    padding: 10px 8px 8px 8px;
    font-weight: bold;
}
QGroupBox::title {
    subcontrol-origin: margin;
    subcontrol-position: top left;
    left: 10px;
    padding: 0 4px;
    color: @accent@;
}

QListWidget, QListView, QTreeWidget, QTreeView, QTableWidget, QTableView {
    background-color: @panel@;
    color: @text@;
    border: 1px solid @border@;
    border-radius: 4px;
    outline: 0;
}
QListView::item, QTreeView::item {
    padding: 2px 0;
}
QListView::item:hover, QTreeView::item:hover {
    background-color: @hover@;
}
QListView::item:selected, QTreeView::item:selected, QTableView::item:selected {
    background-color: @selection@;
    color: @text@;
}
QHeaderView::section {
    background-color: @component@;
    color: @muted@;
    border: none;
    border-bottom: 1px solid @border@;
    padding: 5px 8px;
    font-weight: bold;
}

QMenuBar {
    background-color: @panel@;
    color: @soft@;
    border-bottom: 1px solid @component@;
}
QMenuBar::item {
    background: transparent;
    padding: 4px 10px;
}
QMenuBar::item:selected {
    background-color: @component@;
    color: @accentEnd@;
}
QMenu {
    background-color: @component@;
    border: 1px solid @border@;
    padding: 4px 0;
}
QMenu::item {
    padding: 6px 24px 6px 20px;
}
QMenu::item:selected {
    background-color: @accent@;
    color: @text@;
}
QMenu::item:disabled {
    color: @disabledText@;
}
QMenu::separator {
    height: 1px;
    background-color: @border@;
    margin: 4px 8px;
}

QToolBar {
    background-color: @panel@;
    border: none;
    spacing: 4px;
}
QSplitter::handle {
    background-color: @border@;
}
QSplitter::handle:hover {
    background-color: @accent@;
}
QStatusBar {
    background-color: @panel@;
    color: @muted@;
}
QMessageBox QLabel {
    color: @text@;
}
)css";

const char* const kTabPaneSheetHead = R"css(
QTabWidget::pane {
    background-color: @component@;
    border: none;
    top: 0;
}
QTabWidget::tab-bar {
    left: 6px;
}
)css";

const char* const kConnectScreenSheet = R"css(
ConnectScreen {
    background-color: @deep@;
    color: @text@;
}
QFrame#connectHeader {
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 1, stop: 0 @panel@, stop: 1 @component@);
    border: none;
    border-bottom: 2px solid @accent@;
}
QLabel#connectTitle {
    color: @text@;
    font-size: 24px;
    font-weight: bold;
}
QLabel#connectSubtitle {
    color: @muted@;
    font-size: 11px;
}
QLabel#sectionLabel {
    color: @muted@;
}
QTreeWidget#characterTree {
    background-color: @panel@;
    border: 1px solid @border@;
    border-radius: 6px;
    padding: 4px;
}
QTreeWidget#characterTree:focus {
    border-color: @accent@;
}
QTreeWidget#characterTree QHeaderView::section {
    background-color: @panel@;
}
QPushButton#addButton, QPushButton#editButton, QPushButton#deleteButton, QPushButton#featuresButton {
    background-color: transparent;
    color: @soft@;
    border: 1px solid @border@;
    border-radius: 4px;
    padding: 8px 16px;
}
QPushButton#addButton:hover, QPushButton#editButton:hover, QPushButton#deleteButton:hover,
QPushButton#featuresButton:hover, QPushButton#addButton:focus, QPushButton#editButton:focus,
QPushButton#deleteButton:focus, QPushButton#featuresButton:focus {
    color: @text@;
    border-color: @accent@;
}
QPushButton#addButton:disabled, QPushButton#editButton:disabled,
QPushButton#deleteButton:disabled, QPushButton#featuresButton:disabled {
    color: @disabledText@;
    border-color: @disabledBorder@;
}
QPushButton#connectButton {
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0, stop: 0 @accent@, stop: 1 @accentEnd@);
    color: @text@;
    border: 1px solid @accent@;
    border-radius: 4px;
    padding: 8px 28px;
    font-weight: bold;
}
QPushButton#connectButton:hover, QPushButton#connectButton:focus {
    background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0,
                                stop: 0 @accentHover@, stop: 1 @accentEnd@);
    border-color: @text@;
}
QPushButton#connectButton:pressed {
    background: @accent@;
}
QPushButton#connectButton:disabled {
    background: @component@;
    color: @disabledText@;
    border-color: @disabledBorder@;
}
)css";

// The tab rules both tab bars share; each passes its own border and padding
// for a tab and the border that marks the selected one.
QString tabBarRules(const char* tabBorder, const char* selectedBorder)
{
    return QStringLiteral("QTabBar::tab {\n"
                          "    background-color: @panel@;\n"
                          "    color: @muted@;\n"
                          "%1"
                          "    margin-right: 2px;\n"
                          "}\n"
                          "QTabBar::tab:selected {\n"
                          "    background-color: @component@;\n"
                          "    color: @text@;\n"
                          "%2"
                          "}\n"
                          "QTabBar::tab:hover:!selected {\n"
                          "    color: @text@;\n"
                          "}\n")
        .arg(QString::fromUtf8(tabBorder), QString::fromUtf8(selectedBorder));
}

} // namespace

QString applicationStyleSheet()
{
    const QString tabs = tabBarRules("    border: 1px solid @border@;\n"
                                     "    border-bottom: none;\n"
                                     "    border-top-left-radius: 4px;\n"
                                     "    border-top-right-radius: 4px;\n"
                                     "    padding: 5px 12px;\n",
                                     "    border-top: 2px solid @accent@;\n");
    return withPalette(QString::fromUtf8(kApplicationSheetHead) + tabs +
                       QString::fromUtf8(kApplicationSheetTail));
}

QString tabPaneStyleSheet()
{
    const QString tabs = tabBarRules("    border: none;\n"
                                     "    border-bottom: 2px solid transparent;\n"
                                     "    padding: 7px 16px;\n",
                                     "    border-bottom: 2px solid @accent@;\n");
    return withPalette(QString::fromUtf8(kTabPaneSheetHead) + tabs);
}

QString connectScreenStyleSheet()
{
    return withPalette(QString::fromUtf8(kConnectScreenSheet));
}

} // namespace Theme
