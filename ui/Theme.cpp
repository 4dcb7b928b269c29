#include "ui/Theme.h"

#include <QColor>
#include <QFontDatabase>
#include <QList>
#include <QPair>

namespace Theme {
namespace {

// Colours that only the style sheet uses: the chunk gradients of the vitals
// bars, so power level, ki and fatigue can be told apart at a glance.
constexpr QLatin1String kKiStart{"#7c4dff"};
constexpr QLatin1String kFatigueStart{"#2e7d32"};
constexpr QLatin1String kFatigueEnd{"#66bb6a"};
constexpr QLatin1String kOpponentStart{"#c62828"};
constexpr QLatin1String kHover{"#242424"};
constexpr QLatin1String kAccentHover{"#ff7d1f"};
constexpr QLatin1String kDisabledText{"#5a5a5a"};
constexpr QLatin1String kDisabledBorder{"#262626"};
constexpr QLatin1String kSelection{"rgba(255, 107, 0, 90)"};

} // namespace

// The sheets are written with @name@ placeholders and filled from the palette,
// which keeps them readable and every colour defined once.
QString withPalette(QString sheet)
{
    const QList<QPair<QLatin1String, QLatin1String>> tokens = {
        {QLatin1String("@accent@"), kAccent},
        {QLatin1String("@accentEnd@"), kAccentEnd},
        {QLatin1String("@secondary@"), kSecondary},
        {QLatin1String("@deep@"), kDeepBackground},
        {QLatin1String("@panel@"), kPanelBackground},
        {QLatin1String("@component@"), kComponentBackground},
        {QLatin1String("@border@"), kBorder},
        {QLatin1String("@text@"), kText},
        {QLatin1String("@soft@"), kTextSoft},
        {QLatin1String("@muted@"), kTextMuted},
        {QLatin1String("@kiStart@"), kKiStart},
        {QLatin1String("@fatigueStart@"), kFatigueStart},
        {QLatin1String("@fatigueEnd@"), kFatigueEnd},
        {QLatin1String("@opponentStart@"), kOpponentStart},
        {QLatin1String("@opponentEnd@"), kOpponentName},
        {QLatin1String("@hover@"), kHover},
        {QLatin1String("@accentHover@"), kAccentHover},
        {QLatin1String("@disabledText@"), kDisabledText},
        {QLatin1String("@disabledBorder@"), kDisabledBorder},
        {QLatin1String("@selection@"), kSelection},
        {QLatin1String("@powerLevelBar@"), kPowerLevelBar},
        {QLatin1String("@kiBar@"), kKiBar},
        {QLatin1String("@fatigueBar@"), kFatigueBar},
        {QLatin1String("@opponentHealthBar@"), kOpponentHealthBar},
    };
    for (const auto& [token, value] : tokens)
        sheet.replace(token, value);
    return sheet;
}

namespace {

const char* const kApplicationSheet = R"css(
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
QTabBar::tab {
    background-color: @panel@;
    color: @muted@;
    border: 1px solid @border@;
    border-bottom: none;
    border-top-left-radius: 4px;
    border-top-right-radius: 4px;
    padding: 5px 12px;
    margin-right: 2px;
}
QTabBar::tab:selected {
    background-color: @component@;
    color: @text@;
    border-top: 2px solid @accent@;
}
QTabBar::tab:hover:!selected {
    color: @text@;
}
QTabBar::scroller {
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

const char* const kTabPaneSheet = R"css(
QTabWidget::pane {
    background-color: @component@;
    border: none;
    top: 0;
}
QTabWidget::tab-bar {
    left: 6px;
}
QTabBar::tab {
    background-color: @panel@;
    color: @muted@;
    border: none;
    border-bottom: 2px solid transparent;
    padding: 7px 16px;
    margin-right: 2px;
}
QTabBar::tab:selected {
    background-color: @component@;
    color: @text@;
    border-bottom: 2px solid @accent@;
}
QTabBar::tab:hover:!selected {
    color: @text@;
}
)css";

} // namespace

QString panelStyleSheet()
{
    return withPalette(QStringLiteral("background-color: @component@; color: @text@;"));
}

QString terminalStyleSheet()
{
    return QStringLiteral("QPlainTextEdit { background-color: #000000; } "
                          "QAbstractScrollArea { background-color: #000000; }");
}

QString statusLabelStyleSheet()
{
    return withPalette(QStringLiteral("color: @muted@; font-size: 11px; padding: 0px 8px;"));
}

QString pausedLabelStyleSheet()
{
    return QStringLiteral("color: %1; font-weight: bold; padding: 0px 8px;").arg(kHighlight);
}

QString comboLabelStyleSheet()
{
    return QStringLiteral("color: %1; font-weight: bold;").arg(kHighlight);
}

QString compactButtonStyleSheet()
{
    return QStringLiteral("QPushButton { padding: 6px 8px; }");
}

QString findMessageStyleSheet()
{
    return QStringLiteral("color: %1;").arg(kOpponentName);
}

QString ansiColored(QLatin1String color, const QString& text)
{
    const QColor rgb(color);
    return QStringLiteral("\x1b[38;2;%1;%2;%3m").arg(rgb.red()).arg(rgb.green()).arg(rgb.blue()) + text +
           QStringLiteral("\x1b[0m");
}

QString applicationStyleSheet()
{
    return withPalette(QString::fromUtf8(kApplicationSheet));
}

QString tabPaneStyleSheet()
{
    return withPalette(QString::fromUtf8(kTabPaneSheet));
}

QFont monospaceFont(int pointSize)
{
    QFont font = QFontDatabase::families().contains(kMonospaceFamily)
                     ? QFont(kMonospaceFamily)
                     : QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace);
    font.setPointSize(pointSize);
    return font;
}

} // namespace Theme
