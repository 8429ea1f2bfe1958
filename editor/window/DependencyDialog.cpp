#include "DependencyDialog.h"

#include "editor/data/ValueText.h"
#include "editor/model/BadgeIcon.h"
#include "editor/model/ReadOnlyRow.h"
#include "filehost/Project.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace ConfigScript {

DependencyDialog::DependencyDialog(const Project &project, const Labels &labels,
                                   const DependencyReport &report, QWidget *parent)
    : QDialog(parent)
    , m_changes(0, 3)
{
    const bool isProposal = report.kind == DependencyReport::Kind::Proposal;
    setWindowTitle(isProposal ? tr("Dependencies of %1").arg(report.instance)
                              : tr("Preview of the Dependencies of %1").arg(report.instance));
    const int rows = fillChanges(project, report);

    auto *summaryLabel = new QLabel(summary(report), this);
    summaryLabel->setWordWrap(true);
    auto *view = new QTreeView(this);
    view->setModel(&m_changes);
    view->setUniformRowHeights(true);
    view->setAccessibleName(tr("Changes by file and property"));
    view->expandAll();
    const int character = fontMetrics().averageCharWidth();
    view->setColumnWidth(0, 48 * character);
    view->setColumnWidth(1, 26 * character);

    auto *scripts = new QListWidget(this);
    const QStringList texts = scriptTexts(labels, report);
    for (const QString &text : texts) {
        new QListWidgetItem(BadgeIcon::warning(), text, scripts);
    }
    scripts->setAccessibleName(tr("What the scripts reported"));
    scripts->setWordWrap(true);
    scripts->setMaximumHeight(fontMetrics().height() * 8);
    scripts->setVisible(!texts.isEmpty());

    auto *buttons = new QDialogButtonBox(this);
    if (isProposal && m_changes.rowCount() > 0) {
        QPushButton *accept = buttons->addButton(
            tr("&Write %1").arg(ValueText::counted(m_changes.rowCount(), tr("File"), tr("Files"))),
            QDialogButtonBox::AcceptRole);
        accept->setDefault(true);
        buttons->addButton(tr("&Leave as They Are"), QDialogButtonBox::RejectRole);
    } else {
        buttons->addButton(QDialogButtonBox::Close);
    }
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(summaryLabel);
    layout->addWidget(view, 1);
    layout->addWidget(scripts);
    layout->addWidget(buttons);
    constexpr int mostRows = 24;
    resize(110 * character, (12 + qMin(rows, mostRows)) * fontMetrics().height());
}

/// @return the number of rows
int DependencyDialog::fillChanges(const Project &project, const DependencyReport &report)
{
    int rows = 0;
    m_changes.setHorizontalHeaderLabels({tr("File and property"), tr("Old"), tr("New")});
    for (const ChangedTree &tree : report.record.trees) {
        const auto file =
            readOnlyRow({project.relativePath(tree.identity.filePath), QString(), tree.error});
        QFont font = file.constFirst()->font();
        font.setBold(true);
        file.constFirst()->setFont(font);
        m_changes.appendRow(file);
        ++rows;
        for (const PropertyChange &change : tree.changes) {
            const QVector<PropertyChange> parts = change.flattened();
            for (const PropertyChange &part : parts) {
                file.constFirst()->appendRow(readOnlyRow({part.path + QLatin1Char(':') + part.key,
                                                          ValueText::toText(part.oldValue),
                                                          ValueText::toText(part.newValue)}));
                ++rows;
            }
        }
    }
    return rows;
}

QStringList DependencyDialog::scriptTexts(const Labels &labels, const DependencyReport &report)
{
    QStringList texts;
    if (!report.error.isEmpty()) {
        texts.append(report.error);
    }
    for (const Finding &finding : report.findings) {
        texts.append(finding.toString());
    }
    for (const ScriptRun &run : report.record.runs) {
        for (const ScriptException &exception : run.exceptions) {
            const Diagnostic place{run.scriptOf(exception.isOfFunction), exception.line, 0,
                                   exception.text};
            texts.append(QStringLiteral("%1, %2").arg(run.instance, place.toString()));
        }
        const QString foreign = run.foreignFunctionText();
        if (!foreign.isEmpty()) {
            texts.append(QStringLiteral("%1, %2: %3").arg(run.instance, run.script, foreign));
        } else if (!run.succeeded && run.exceptions.isEmpty()) {
            texts.append(tr("%1, %2: failed").arg(run.instance, run.script));
        }
        for (const JavaScriptApi::ErrorMessage &error : run.errors) {
            texts.append(tr("%1 reports at %2: %3")
                             .arg(run.instance, error.relUrl, labels.text(error.errorLabelTextId)));
        }
        for (const QString &warning : run.warnings) {
            texts.append(QStringLiteral("%1, %2: %3").arg(run.instance, run.script, warning));
        }
        if (!run.unsavedChanges.isEmpty()) {
            texts.append(tr("%1 writes by relative URL, which nobody saves").arg(run.instance));
        }
    }
    for (const OmittedRun &omitted : report.record.notRun) {
        texts.append(tr("%1 did not run: %2").arg(omitted.instance, omitted.reason));
    }
    return texts;
}

QString DependencyDialog::summary(const DependencyReport &report)
{
    QString scripts =
        tr("%1 ran, %2 failed.")
            .arg(ValueText::counted(report.record.runs.size(), tr("script"), tr("scripts")))
            .arg(report.record.failedRuns());
    switch (report.kind) {
    case DependencyReport::Kind::Preview:
        return scripts + QLatin1Char(' ')
            + tr("This is what they change inside the unsaved tree; other instances are out of "
                 "their reach here. Nothing is written.");
    case DependencyReport::Kind::Proposal:
        return scripts + QLatin1Char(' ')
            + tr("The instance is saved. These files would change besides.");
    case DependencyReport::Kind::Written:
        return scripts;
    }
    return scripts;
}

} // namespace ConfigScript
