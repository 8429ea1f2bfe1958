#include "CheckCommand.h"

#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/process/ScriptWatchdog.h"
#include "configscript/report/Findings.h"
#include "configscript/report/OrderFindings.h"
#include "configscript/report/Output.h"
#include "configscript/report/ProgressLine.h"
#include "filehost/Manifest.h"
#include "runner/check/ProjectCheck.h"
#include "runner/order/OrderRecord.h"
#include "runner/order/OrderTrials.h"

#include <CLI/CLI.hpp>

#include <QJsonObject>

CheckCommand::CheckCommand(CLI::App &program)
    : Command(program, "check",
              "Look for mistakes in a project, without calling its scripts' functions")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments().add_flag("--json", m_isJson, "Print the findings as JSON");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    auto *order = arguments().add_flag(
        "--order", m_checksOrder,
        "Run the dependency scripts, too, on a copy: in several orders, and each until nothing "
        "changes");
    arguments()
        .add_option("--orders", m_orders, "With --order: in how many orders")
        ->type_name("N")
        ->check(CLI::Range(2, 1000))
        ->capture_default_str()
        ->needs(order);
    m_limits.addOptions(arguments());
}

int CheckCommand::run()
{
    m_limits.limitMemory();
    const auto project = openProject(m_projectPath);
    if (!project) {
        return ExitCode::unusable;
    }
    ScriptWatchdog watchdog(m_limits.timeout());
    auto findings = ProjectCheck(*project, watchdog).checkAll(Manifest(*project));
    std::unique_ptr<OrderRecord> orders;
    if (m_checksOrder && !Findings::hasErrors(findings)) {
        ProgressLine progress(m_isJson ? ProgressLine::Visibility::Never
                                       : ProgressLine::Visibility::Automatic);
        OrderTrials trials(*project, watchdog);
        trials.setProgress([&progress](const QString &activity, int done, int total) {
            progress.show(activity, done, total);
        });
        Diagnostic error;
        orders = trials.run(m_orders, error);
        progress.clear();
        if (!orders) {
            Output::error(error.toString());
            return ExitCode::unusable;
        }
        findings += OrderFindings(*orders).findings();
    }
    print(*project, findings, orders.get());
    return Findings::hasErrors(findings) ? ExitCode::failure : ExitCode::success;
}

/// @param orders null when the order was not checked
void CheckCommand::print(const Project &project, const QVector<Finding> &findings,
                         const OrderRecord *orders) const
{
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    if (m_isJson) {
        QJsonObject object = Findings::toJson(project, findings);
        if (orders) {
            object.insert(QStringLiteral("orders"),
                          QJsonObject{{QStringLiteral("run"), orders->trials().size()},
                                      {QStringLiteral("different"), orders->distinctOrders()},
                                      {QStringLiteral("scripts"), orders->instances().size()}});
        }
        output.json(object);
        return;
    }
    Findings::print(output, findings);
    if (orders) {
        output.line(Output::counted(orders->instances().size(), QStringLiteral("script"))
                    + QStringLiteral(" run in ")
                    + Output::counted(orders->distinctOrders(),
                                      orders->distinctOrders() == 1
                                          ? QStringLiteral("order")
                                          : QStringLiteral("different order")));
    } else if (m_checksOrder) {
        output.line(QStringLiteral("No script was run: the order is checked when there are no "
                                   "errors."));
    }
    output.line(Findings::summary(findings));
}
