// Events of a dialog or of a resolver, in each of them calls of the API: the bytes choose events,
// functions and arguments. The trees stay trees, and no other file changes.
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/ProjectFolder.h"
#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"
#include "fuzz/FuzzSupport.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/SelectorUrlHandler.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"

#include <QDir>
#include <QMap>

#include <algorithm>
#include <iterator>

using namespace ConfigScript;

namespace {

// Takes the calls of one event after the other from "programs", which the input makes.
const char s_script[] = R"js(
var kept;
var special = [
    function () { return undefined; },
    function () { return NaN; },
    function () { return -Infinity; },
    function () { return -0; },
    function () { return function () {}; },
    function () { return new Date(0); },
    function () { return new Date(NaN); },
    function () { return new Date(8.64e15); },
    function () { var o = {}; o.o = [o]; return o; },
    function () { return new Proxy({}, { get: function () { throw new Error("get"); } }); },
    function () { return { get a() { throw new Error("getter"); } }; },
    function () { return { toString: function () { throw new Error("toString"); } }; },
    function () { return { toString: function () { return {}; }, valueOf: null }; },
    function () { return Symbol("s"); },
    function (api) { return api; },
    function (api) { return [api, { a: api }]; },
    function () { return [undefined]; },
    function () { return "x\ud83d".repeat(2000); },
    function () { var a = []; for (var i = 0; i < 600; ++i) { a = [a]; } return a; },
    function () { return /x/g; },
    function () { return new Map([[1, 2]]); },
    function () { return new Uint8Array(4); },
    function () { return Object.create(null); },
    function () { return new Array(1000); },
    function () { return 9007199254740993; },
    function () { return kept; }
];
function argument(api, value) {
    return value !== null && typeof value === "object" && typeof value.$ === "number"
        ? special[value.$ % special.length](api) : value;
}
// A date is stored as its JSON text, or not at all.
function setDate(api, url, key, date) {
    var before = api.getProperty(url, key);
    api.setProperty(url, key, date);
    var after = api.getProperty(url, key);
    if (after !== date.toJSON() && JSON.stringify(after) !== JSON.stringify(before)) {
        api.setError("", "a date was lost", after);
    }
}
function run(api) {
    var calls = programs.shift() || [];
    for (var i = 0; i < calls.length; ++i) {
        try {
            var values = calls[i][1].map(function (value) { return argument(api, value); });
            if (calls[i][0] === "setProperty" && values[2] instanceof Date) {
                setDate(api, values[0], values[1], values[2]);
            }
            kept = api[calls[i][0]].apply(api, values);
            JSON.stringify(kept);
        } catch (error) {
            console.log(error);
        }
    }
    return calls.length !== 7;
}
function onOpen(api) { return run(api); }
function onOk(api) { return run(api); }
function onValueChange(api, url) { return run(api); }
function onSave(api, url) { return run(api); }
)js";

const char *const s_functions[] = {"getProperty",       "setProperty",
                                   "getPropertyExtern", "setPropertyExtern",
                                   "setError",          "isUrlValid",
                                   "getAllUnitTexts",   "getListOfNodeInstancesWithText",
                                   "getHostTypeName",   "destroy",
                                   "deleteLater",       "toString",
                                   "objectNameChanged", "initializeJavaScriptApi"};

const char *const s_relativeUrls[] = {"",        "motor",     "motor/axis", "limits",
                                      "missing", "motor/../", "/",          "motor/"};

const char *const s_absoluteUrls[] = {"config://pumps/station/line1",
                                      "config://pumps/station/line1#motor",
                                      "config://pumps/station/line1/pump1#motor/axis",
                                      "config://pumps/station/line1/pump1",
                                      "process://pumps/station/line1",
                                      "process://pumps/station/line1#motor",
                                      "config://pumps/network/bus#motor",
                                      "other://pumps/station/line1#motor",
                                      "config://valves/station/line1",
                                      "config://pumps/elsewhere/line1",
                                      "config://pumps/station/out/tree",
                                      "config://pumps/station/../../outside/tree",
                                      "config://pumps/station/%2e%2e/%2e%2e/outside/tree",
                                      "process://pumps/station/../configuration/line1",
                                      "config://pumps/station//outside/tree",
                                      "config://pumps/station/manifest",
                                      "config://pumps/station/missing",
                                      "config://pumps/station/line1%00",
                                      "no url"};

const char *const s_keys[] = {"value", "labelTextId", "limits",     "list",     "serial",
                              "",      "new",         "\xc3\xbc\n", "__proto__"};

const char *const s_values[] = {"null",
                                "true",
                                "0",
                                "-0",
                                "1.5",
                                "1e300",
                                "9007199254740993",
                                "\"text\"",
                                "\"\\ud83d\"",
                                "[]",
                                "[1,[2],{}]",
                                "{}",
                                R"({"min":1,"max":{"a":[null]}})",
                                "\"kW\""};

const char s_tree[] = R"({
  "comment": "kept",
  "properties": { "labelTextId": "tree", "value": 1.50, "limits": { "min": 0, "max": [1, 2] },
                  "list": [1,  2, 3], "serial": "S-1" },
  "readOnly": ["serial", "fixed"],
  "children": {
    "motor": { "properties": { "value": 2 }, "children": { "axis": { } } },
    "limits": { "note": [], "readOnly": ["value"], "properties": { "value": "caf\u00e9" } }
  }
}
)";

const QString s_pumps = QStringLiteral("pumps");
const QString s_station = QStringLiteral("station");
const QString s_network = QStringLiteral("network");

/// The trees that scripts may write.
const QStringList &treeFiles()
{
    static const QStringList files{QStringLiteral("project/configuration/line1.json"),
                                   QStringLiteral("project/configuration/line1/pump1.json"),
                                   QStringLiteral("project/process/line1.json"),
                                   QStringLiteral("network/configuration/bus.json")};
    return files;
}

/// Two projects, and what lies beside them.
class Plant
{
public:
    Plant()
    {
        const QStringList trees = treeFiles();
        for (const QString &file : trees) {
            m_folder.write(file, s_tree);
        }
        m_others = {{QStringLiteral("outside/tree.json"), s_tree},
                    {QStringLiteral("project/project.json"), "{}"},
                    {QStringLiteral("project/configuration/manifest.json"), "{}"},
                    {QStringLiteral("project/scripts/line.js"), "// a script\n"}};
        for (auto it = m_others.cbegin(); it != m_others.cend(); ++it) {
            m_folder.write(it.key(), it.value());
        }
        m_folder.link(QStringLiteral("project/configuration/out"), QStringLiteral("../../outside"));
        m_entries = m_folder.entries();
    }

    QString path(const QString &name) const { return m_folder.path(name); }

    QHash<QString, QString> objects() const
    {
        return {{s_station, path(QStringLiteral("project"))}, {s_network, path(s_network)}};
    }

    void requireNothingElseChanged() const
    {
        const QStringList entries = m_folder.entries();
        Fuzzing::require(entries == m_entries, "the same files", entries.join(QLatin1Char('\n')));
        for (auto it = m_others.cbegin(); it != m_others.cend(); ++it) {
            Fuzzing::require(m_folder.read(it.key()) == it.value(), "a file that nobody writes",
                             it.key());
        }
    }

    /// The text of a tree's file; the file is then as it was in the beginning.
    QByteArray takeTree(const QString &file) const
    {
        const QByteArray text = m_folder.read(file);
        if (text != s_tree) {
            m_folder.write(file, s_tree);
        }
        return text;
    }

private:
    ProjectFolder m_folder;
    QMap<QString, QByteArray> m_others;
    QStringList m_entries;
};

const Plant &plant()
{
    static const Plant plant;
    return plant;
}

template <std::size_t size>
QString choose(const char *const (&table)[size], Fuzzing::Reader &input)
{
    // The last choice is what stands in the input.
    const int choice = input.choice(int(size) + 1);
    return choice == int(size) ? input.text() : QString::fromUtf8(table[choice]);
}

QVariant chooseValue(Fuzzing::Reader &input)
{
    if (input.choice(3) == 0) {
        return QVariantMap{{QStringLiteral("$"), input.choice(256)}};
    }
    const QByteArray text = choose(s_values, input).toUtf8();
    Diagnostic error;
    const JsonText json = JsonText::parse(text, error);
    return json.isNull() ? QVariant(QString::fromUtf8(text)) : json.value(0);
}

/// The function's name and its arguments, a few too many or too few now and then.
QVariant chooseCall(Fuzzing::Reader &input)
{
    const int function = input.choice(int(std::size(s_functions)));
    QVariantList arguments;
    switch (function) {
    case 0:
    case 1:
    case 4:
    case 5:
        arguments.append(choose(s_relativeUrls, input));
        break;
    case 2:
    case 3:
    case 7:
        arguments.append(choose(s_absoluteUrls, input));
        break;
    default:
        break;
    }
    if (function < 5) {
        arguments.append(choose(s_keys, input));
    }
    for (int count = input.choice(4); count > 0; --count) {
        arguments.append(chooseValue(input));
    }
    return QVariantList{QString::fromLatin1(s_functions[function]), QVariant(arguments)};
}

QVariant chooseProgram(Fuzzing::Reader &input)
{
    QVariantList calls;
    for (int count = input.choice(12); count > 0; --count) {
        calls.append(chooseCall(input));
    }
    return calls;
}

/// The value as the source text of a script.
QString sourceOf(const QVariant &value)
{
    const QString json = QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Compact));
    QString source = QStringLiteral("JSON.parse(\"");
    for (const QChar character : json) {
        source += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
    return source + QStringLiteral("\")");
}

struct Event
{
    int choice;
    QString argument;
};

/// The script's text, and the events that it serves.
QString chooseScript(Fuzzing::Reader &input, QVector<Event> &events)
{
    QVariantList programs;
    while (!input.isAtEnd() && events.size() < 16) {
        const int choice = input.choice(8);
        Event event{choice, QString()};
        if (choice == 2) {
            event.argument = choose(s_relativeUrls, input);
        } else if (choice == 3) {
            event.argument = choose(s_absoluteUrls, input);
        }
        if (choice < 4) {
            programs.append(chooseProgram(input));
        }
        events.append(event);
    }
    return QLatin1String(s_script) + QStringLiteral("var programs = ") + sourceOf(programs);
}

/// Whether the tree is one that can be written and read again, with the nodes it had.
void requireTree(const FileTreeNode &root)
{
    Diagnostic error;
    const QByteArray text = root.text();
    const auto again = FileTree::parse(text, {}, error);
    if (again.isNull()) {
        Fuzzing::fail("a tree that can be read again",
                      error.toString() + QLatin1Char('\n') + QString::fromUtf8(text));
    }
    static const QStringList names{QStringLiteral("motor"), QStringLiteral("limits")};
    Fuzzing::require(again->childNames() == names && root.childNames() == names,
                     "the nodes as they were");
    static const QStringList urls{QString(), QStringLiteral("motor"), QStringLiteral("motor/axis"),
                                  QStringLiteral("limits")};
    for (const QString &url : urls) {
        const auto node = root.getNode(url).staticCast<FileTreeNode>();
        const auto nodeAgain = again->getNode(url).staticCast<FileTreeNode>();
        const QStringList keys = node->propertyKeys();
        Fuzzing::require(nodeAgain->propertyKeys() == keys, "the same keys", url);
        for (const QString &key : keys) {
            Fuzzing::require(
                JsonValue::areEqual(node->getProperty(key), nodeAgain->getProperty(key)),
                "the same value", key);
        }
    }
    Fuzzing::require(root.getProperty(QStringLiteral("serial")) == QStringLiteral("S-1")
                         && !root.hasProperty(QStringLiteral("fixed")),
                     "read-only properties as they were");
}

/// Whether the API gives the values that the tree holds.
void requireSameValues(const JavaScriptApi &api, const FileTreeNode &root)
{
    const QStringList keys = root.propertyKeys();
    for (const QString &key : keys) {
        Fuzzing::require(JsonValue::areEqual(JsonValue::normalized(api.getProperty(QString(), key)),
                                             root.getProperty(key)),
                         "the tree's value from the API", key);
    }
}

QSharedPointer<FileTreeNode> readTree(const char *instance)
{
    return ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
               QDir(plant().path(QStringLiteral("project/configuration"))), QLatin1String(instance),
               false)
        .staticCast<FileTreeNode>();
}

/// @param host a dialog or a handler
template <typename Host>
void readErrors(Host &host)
{
    host.getErrorMesageList();
    Fuzzing::require(host.getErrorMesageList().isEmpty(), "a list of errors that reading empties");
}

/// What a dialog does.
void runDialog(const QString &script, const QVector<Event> &events, const UnitManagerWrapper &units,
               const TextManager &texts)
{
    const auto root = readTree("line1");
    JavaScriptHandlerUiWrapper dialog(units, texts, nullptr);
    dialog.initializeHandler(root, script, QLatin1String(s_absoluteUrls[0]));
    for (const Event &event : events) {
        switch (event.choice) {
        case 0:
            dialog.callFunctionOnOpen();
            break;
        case 1:
        case 3:
            dialog.callFunctionOnOk();
            break;
        case 2:
            dialog.callFunctionOnValueChanged(event.argument);
            break;
        case 4:
            readErrors(dialog);
            break;
        case 5:
            dialog.initializeHandler({}, QString(), QString());
            break;
        default:
            root->setProperty(QStringLiteral("value"), event.choice);
        }
    }
    requireTree(*root);
    plant().requireNothingElseChanged();
    const QStringList files = treeFiles();
    for (const QString &file : files) {
        Fuzzing::require(plant().takeTree(file) == s_tree, "a file that a dialog leaves alone",
                         file);
    }
}

/// The file of the tree that an absolute URL addresses.
QString fileOf(const QString &url, bool isProcess)
{
    const SelectorUrlHandler parts(url);
    return (parts.getObjectName() == s_station ? QStringLiteral("project") : s_network)
        + (isProcess ? QStringLiteral("/process/") : QStringLiteral("/configuration/"))
        + parts.getInstance() + QStringLiteral(".json");
}

/// What a resolver does, or a host's own dialog that saves.
void runHandler(const QString &script, const QVector<Event> &events,
                const UnitManagerWrapper &units, const TextManager &texts)
{
    JavaScriptRootPointerHandler roots(plant().path(QStringLiteral("project")), plant().objects());
    JavaScriptApi api(units, roots, texts, s_pumps, s_station, true, nullptr);
    JavaScriptHandler handler(api, nullptr);
    auto root = readTree("line1/pump1");
    const QString url = QLatin1String(s_absoluteUrls[3]);
    handler.initializeHandler(root, script, url);

    QMultiHash<QString, QByteArray> stored; // texts that a file may hold
    const auto save = [&] {
        const QStringList configurations = handler.getChangedExternalConfigAbsoluteUrls();
        const QStringList processes = handler.getChangedExternalProcessAbsoluteUrls();
        const auto addTexts = [&](const QStringList &urls, bool isProcess) {
            for (const QString &changed : urls) {
                const auto tree = roots.getRootPointer(changed).staticCast<FileTreeNode>();
                requireTree(*tree);
                stored.insert(fileOf(changed, isProcess), tree->text());
            }
        };
        addTexts(configurations, false);
        addTexts(processes, true);
        handler.saveChangedFiles();
    };
    for (const Event &event : events) {
        switch (event.choice) {
        case 0:
            handler.callFunctionOnOpen();
            break;
        case 1:
            handler.callFunctionOnOk();
            break;
        case 2:
            handler.callFunctionOnValueChanged(event.argument);
            break;
        case 3:
            handler.callFunctionOnSave(event.argument);
            break;
        case 4:
            readErrors(handler);
            break;
        case 5:
            save();
            break;
        case 6:
            handler.resetState();
            Fuzzing::require(!handler.hasInstanceChanged()
                                 && handler.getChangedExternalConfigAbsoluteUrls().isEmpty()
                                 && handler.getChangedExternalProcessAbsoluteUrls().isEmpty(),
                             "no changes after a reset");
            root = readTree("line1/pump1");
            // Without its programs, which the engine still has.
            handler.initializeHandler(root, QLatin1String(s_script), url);
            break;
        default:
            requireSameValues(api, *root);
        }
        for (const auto &error : api.getListOfErrors()) {
            Fuzzing::require(error.errorLabelTextId != QLatin1String("a date was lost"),
                             "a date's text, or the value before");
        }
    }
    save();
    requireTree(*root);
    requireSameValues(api, *root);

    plant().requireNothingElseChanged();
    const QStringList files = treeFiles();
    for (const QString &file : files) {
        const QByteArray text = plant().takeTree(file);
        Fuzzing::require(text == s_tree || stored.contains(file, text),
                         "a file as it was, or as its tree is", file);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Fuzzing::setUp();
    static const HostSession session({{QStringLiteral("kW"),
                                       {{QStringLiteral("en"), QStringLiteral("kW")},
                                        {QStringLiteral("de"), QStringLiteral("kW")}}}});
    const UnitManagerWrapper units(false, false);
    const TextManager texts({{QStringLiteral("tree"), QStringLiteral("A tree")}});
    Fuzzing::Reader input(Fuzzing::bytesOf(data, size));
    const bool isDialog = input.choice(2) == 1;
    QVector<Event> events;
    const QString script = chooseScript(input, events);
    if (isDialog) {
        runDialog(script, events, units, texts);
    } else {
        runHandler(script, events, units, texts);
    }
    return 0;
}
