#include "lua/LuaScriptTab.h"

#include <QDateTime>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSet>
#include <QSignalBlocker>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>

#include "lua/LuaPackage.h"
#include "lua/LuaSyntaxHighlighter.h"

namespace {

const QString kPackageSuffix = QStringLiteral(".olvexscripts");
const QString kNoModuleText = QStringLiteral("No module selected");

} // namespace

LuaScriptTab::LuaScriptTab(QWidget* parent)
    : QWidget(parent)
{
    createUI();
}

void LuaScriptTab::createUI()
{
    auto* outer = new QHBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* splitter = new QSplitter(Qt::Horizontal, this);
    outer->addWidget(splitter);
    splitter->addWidget(createModuleListPane(splitter));
    splitter->addWidget(createCodePane(splitter));
    splitter->setCollapsible(0, false);
    splitter->setCollapsible(1, false);
    splitter->setStretchFactor(1, 1);
    connect(list, &QListWidget::currentRowChanged, this, &LuaScriptTab::onModuleSelected);
    connect(editor, &QPlainTextEdit::textChanged, this, &LuaScriptTab::onCodeEdited);
}

QWidget* LuaScriptTab::createModuleListPane(QWidget* parent)
{
    auto* pane = new QWidget(parent);
    auto* layout = new QVBoxLayout(pane);
    list = new QListWidget(pane);
    list->setMinimumWidth(100);
    list->setAccessibleName(tr("Lua modules"));
    layout->addWidget(list);
    auto* listButtons = new QHBoxLayout;
    const auto addListButton = [&](const QString& text, const QString& tip, void (LuaScriptTab::*slot)()) {
        auto* button = new QPushButton(text, pane);
        button->setMaximumWidth(30);
        button->setMinimumWidth(28);
        // The theme's roomy button padding would leave no space for the symbol.
        button->setStyleSheet(QStringLiteral("QPushButton { padding: 4px 0px; }"));
        button->setToolTip(tip);
        // A symbol read aloud says nothing; the tooltip's words do.
        button->setAccessibleName(tip);
        listButtons->addWidget(button);
        connect(button, &QPushButton::clicked, this, slot);
    };
    addListButton(QStringLiteral("+"), tr("New module"), &LuaScriptTab::onNewModule);
    addListButton(QStringLiteral("-"), tr("Delete module"), &LuaScriptTab::onDeleteModule);
    addListButton(QString(QChar(0x2191)), tr("Load earlier"), &LuaScriptTab::onMoveUp);
    addListButton(QString(QChar(0x2193)), tr("Load later"), &LuaScriptTab::onMoveDown);
    listButtons->addStretch();
    layout->addLayout(listButtons);
    return pane;
}

QWidget* LuaScriptTab::createCodePane(QWidget* parent)
{
    auto* pane = new QWidget(parent);
    auto* layout = new QVBoxLayout(pane);
    editor = new QPlainTextEdit(pane);
    editor->setAccessibleName(tr("Module code"));
    // Courier is what players know from other clients; the hints make sure a
    // system without it still gets a fixed-width face rather than a proportional one.
    QFont font(QStringLiteral("Courier"), 10);
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    editor->setFont(font);
    editor->setLineWrapMode(QPlainTextEdit::NoWrap);
    new LuaSyntaxHighlighter(editor->document());
    layout->addWidget(editor, 1);

    auto* fileRow = new QHBoxLayout;
    status = new QLabel(kNoModuleText, pane);
    status->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    fileRow->addWidget(status, 1);
    const auto addButton = [this, pane](QHBoxLayout* row, const QString& text, void (LuaScriptTab::*slot)()) {
        auto* button = new QPushButton(text, pane);
        row->addWidget(button);
        connect(button, &QPushButton::clicked, this, slot);
    };
    addButton(fileRow, tr("Save"), &LuaScriptTab::onSaveModule);
    addButton(fileRow, tr("Reload"), &LuaScriptTab::onReloadModule);
    auto* packageRow = new QHBoxLayout;
    addButton(packageRow, tr("Import Package"), &LuaScriptTab::onImportPackage);
    addButton(packageRow, tr("Export Package"), &LuaScriptTab::onExportPackage);
    layout->addLayout(fileRow);
    packageRow->addStretch();
    layout->addLayout(packageRow);
    return pane;
}

void LuaScriptTab::setModules(const QList<LuaModule>& newModules, const QString& newScriptDir)
{
    modules = newModules;
    scriptDir = newScriptDir;
    codeCache.clear();
    // The editor may hold a module of the previous list; keeping it current
    // would let the next switch save its text over whatever module now sits
    // at that row.
    clearSelection();
    updateModuleList();
}

QList<LuaModule> LuaScriptTab::getModules() const
{
    return modules;
}

QString LuaScriptTab::moduleFilePath(const QString& name) const
{
    return scriptDir + QLatin1Char('/') + name + QStringLiteral(".lua");
}

void LuaScriptTab::updateModuleList()
{
    const QSignalBlocker blocker(list);
    list->clear();
    for (int row = 0; row < modules.size(); ++row) {
        const QString& name = modules.at(row).name;
        const bool unsaved = row == currentRow && modified && codeCache.contains(name);
        list->addItem(unsaved ? QStringLiteral("* ") + name : name);
    }
    if (hasCurrent())
        list->setCurrentRow(currentRow);
}

void LuaScriptTab::clearSelection()
{
    currentRow = -1;
    editor->clear();
    editor->setPlaceholderText(QString());
    modified = false;
    updateStatus();
}

void LuaScriptTab::onModuleSelected(int row)
{
    // Switching modules saves the one left without asking.
    if (hasCurrent() && modified)
        saveModuleCode();

    if (row >= 0 && row < modules.size()) {
        currentRow = row;
        loadModuleCode(modules.at(row).name);
        modified = false;
        updateStatus();
    } else {
        clearSelection();
    }
}

void LuaScriptTab::onCodeEdited()
{
    modified = true;
    updateStatus();
}

void LuaScriptTab::updateStatus()
{
    if (!hasCurrent())
        status->setText(kNoModuleText);
    else if (modified)
        status->setText(QStringLiteral("* %1 (unsaved)").arg(modules.at(currentRow).name));
    else
        status->setText(modules.at(currentRow).name);
}

void LuaScriptTab::loadModuleCode(const QString& name)
{
    const auto cached = codeCache.constFind(name);
    if (cached != codeCache.constEnd()) {
        editor->setPlaceholderText(QString());
        editor->setPlainText(*cached);
        return;
    }
    QFile file(moduleFilePath(name));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        // An empty editor alone would look like an empty module; saving from
        // here writes the file anew.
        editor->setPlaceholderText(tr("Could not read %1").arg(file.fileName()));
        editor->clear();
        return;
    }
    const QString text = QString::fromUtf8(file.readAll());
    codeCache.insert(name, text);
    editor->setPlaceholderText(QString());
    editor->setPlainText(text);
}

void LuaScriptTab::saveModuleCode()
{
    if (!hasCurrent())
        return;
    const QString name = modules.at(currentRow).name;
    QFile file(moduleFilePath(name));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        showMessage(QMessageBox::Warning, tr("Save Failed"), tr("Failed to save %1.lua").arg(name));
        return;
    }
    const QString text = editor->toPlainText();
    file.write(text.toUtf8());
    file.close();
    codeCache.insert(name, text);
    modified = false;
    updateStatus();
    emit moduleCodeChanged();
}

void LuaScriptTab::onSaveModule()
{
    saveModuleCode();
}

void LuaScriptTab::onReloadModule()
{
    if (!hasCurrent())
        return;
    if (modified && !askYesNo(tr("Reload Module"), tr("Discard unsaved changes and reload from disk?")))
        return;
    // The cache is deliberately kept: this restores the text the tab last
    // loaded or saved, not whatever another program has since written.
    loadModuleCode(modules.at(currentRow).name);
    modified = false;
    updateStatus();
}

void LuaScriptTab::onNewModule()
{
    promptNewModuleName();
}

void LuaScriptTab::promptNewModuleName()
{
    const QString name = askText(tr("New Module"), tr("Module name:"));
    if (name.isEmpty())
        return;
    if (!LuaPackage::isValidModuleName(name)) {
        showMessage(QMessageBox::Warning, tr("Invalid Name"),
                    tr("Module name must start with letter or underscore, contain only "
                       "alphanumeric/underscore"));
        return;
    }
    for (const LuaModule& module : std::as_const(modules)) {
        if (module.name == name) {
            showMessage(QMessageBox::Warning, tr("Duplicate"), tr("Module already exists"));
            return;
        }
    }
    QFile file(moduleFilePath(name));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        showMessage(QMessageBox::Warning, tr("Create Failed"), tr("Failed to create module file"));
        return;
    }
    file.write(QStringLiteral("-- %1 module\n").arg(name).toUtf8());
    file.close();

    LuaModule module;
    module.name = name;
    module.enabled = true;
    module.loadOrder = int(modules.size());
    modules.append(module);
    updateModuleList();
    emit modulesChanged(modules);
    list->setCurrentRow(int(modules.size()) - 1);
}

void LuaScriptTab::onDeleteModule()
{
    if (!hasCurrent())
        return;
    const QString name = modules.at(currentRow).name;
    if (!askYesNo(tr("Delete Module"), tr("Delete module '%1'?").arg(name)))
        return;
    QFile::remove(moduleFilePath(name));
    codeCache.remove(name);
    modules.removeAt(currentRow);
    // The editor's text belongs to the deleted module; nothing may save it
    // over the module that moves into its row.
    clearSelection();
    updateModuleList();
    emit modulesChanged(modules);
}

void LuaScriptTab::onMoveUp()
{
    moveCurrent(-1);
}

void LuaScriptTab::onMoveDown()
{
    moveCurrent(1);
}

// The records swap whole, load order values included: the position in the
// list is the load order, the stored number is not renumbered.
void LuaScriptTab::moveCurrent(int offset)
{
    if (!hasCurrent())
        return;
    const int target = currentRow + offset;
    if (target < 0 || target >= modules.size())
        return;
    modules.swapItemsAt(currentRow, target);
    // The editor keeps its module (and any unsaved text); only its row changes.
    currentRow = target;
    updateModuleList();
    emit modulesChanged(modules);
}

void LuaScriptTab::onExportPackage()
{
    if (modules.isEmpty()) {
        showMessage(QMessageBox::Warning, tr("Export Failed"), tr("No modules to export"));
        return;
    }
    QString path = askSaveFileName(tr("Export Lua Package"), tr("Olvex Script Packages (*.olvexscripts)"));
    if (path.isEmpty())
        return;
    if (!path.endsWith(kPackageSuffix))
        path += kPackageSuffix;

    // Walking every row writes every unsaved change, since each switch saves
    // the module it leaves; the last module stays selected.
    for (int row = 0; row < modules.size(); ++row) {
        list->setCurrentRow(row);
        if (modified)
            saveModuleCode();
    }

    LuaPackage::Metadata metadata;
    metadata.version = QStringLiteral("1");
    metadata.packageVersion = QStringLiteral("1.0");
    metadata.author = QStringLiteral("Olvex User");
    metadata.description = QStringLiteral("Exported Lua scripts");
    metadata.created = QDateTime::currentDateTime().toString(Qt::ISODate);
    metadata.modules = modules;

    QString error;
    if (LuaPackage::exportPackage(scriptDir, modules, metadata, path, error))
        showMessage(QMessageBox::Information, tr("Export Successful"), tr("Exported to %1").arg(path));
    else
        showMessage(QMessageBox::Critical, tr("Export Failed"), error);
}

void LuaScriptTab::onImportPackage()
{
    const QString path = askOpenFileName(tr("Import Lua Package"),
                                         tr("Olvex Script Packages (*.olvexscripts);;All Files (*)"));
    if (path.isEmpty())
        return;

    // Existing module files are never overwritten by an import.
    QList<LuaModule> imported;
    QStringList writtenFiles;
    QString error;
    if (!LuaPackage::importPackage(path, scriptDir, true, imported, error, &writtenFiles)) {
        showMessage(QMessageBox::Critical, tr("Import Failed"), error);
        return;
    }
    const int listSize = int(modules.size());
    const int brought = addImportedModules(imported, writtenFiles);
    codeCache.clear();
    updateModuleList();
    if (!countsOnlyImported || modules.size() != listSize)
        emit modulesChanged(modules);
    if (brought > 0)
        emit moduleCodeChanged();
    const int count = countsOnlyImported ? brought : int(imported.size());
    showMessage(QMessageBox::Information, tr("Import Successful"), tr("Imported %1 module(s)").arg(count));
}

// Appends the package's modules that the list lacks, as they came; returns how
// many modules the import brought in: those new to the list, and listed ones
// whose missing file it supplied. A package of modules all present counts 0.
int LuaScriptTab::addImportedModules(const QList<LuaModule>& imported, const QStringList& writtenFiles)
{
    QSet<QString> brought;
    for (const LuaModule& module : imported) {
        const bool known = std::any_of(modules.cbegin(), modules.cend(),
                                       [&](const LuaModule& m) { return m.name == module.name; });
        if (!known)
            modules.append(module);
        if (!known || writtenFiles.contains(module.name))
            brought.insert(module.name);
    }
    return int(brought.size());
}

QString LuaScriptTab::askText(const QString& title, const QString& label)
{
    return QInputDialog::getText(this, title, label);
}

bool LuaScriptTab::askYesNo(const QString& title, const QString& text)
{
    return QMessageBox::question(this, title, text, QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

QString LuaScriptTab::askOpenFileName(const QString& title, const QString& filter)
{
    return QFileDialog::getOpenFileName(this, title, QString(), filter);
}

QString LuaScriptTab::askSaveFileName(const QString& title, const QString& filter)
{
    return QFileDialog::getSaveFileName(this, title, QString(), filter);
}

void LuaScriptTab::showMessage(QMessageBox::Icon icon, const QString& title, const QString& text)
{
    switch (icon) {
    case QMessageBox::Critical:
        QMessageBox::critical(this, title, text);
        break;
    case QMessageBox::Information:
        QMessageBox::information(this, title, text);
        break;
    default:
        QMessageBox::warning(this, title, text);
        break;
    }
}
