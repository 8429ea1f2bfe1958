#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/ProjectFile.h"
#include "runner/run/DialogReach.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

class Project;

/**
 * A test of a project's scripts, as its file tells it; docs/script-authors.md describes the format.
 * What has to do with the project, such as whether an instance exists, is not looked at.
 */
class ScriptTest
{
public:
    /// A property's value before the scripts run.
    struct Setting
    {
        QString url;
        QString key;
        QVariant value;
        int element; ///< of the node's values in the file, for messages
    };

    /// An event of the instance's user-interface script, or a run of dependency scripts.
    struct Step
    {
        QString event; ///< empty for a run of dependency scripts
        QString argument;
        QString resolved; ///< the instance to resolve; empty for all
        QVector<Setting> settings; ///< what the user enters before the event
        QVariantMap expected;
        int element;
        int expectedElement = -1; ///< -1 when nothing is said

        bool isEvent() const { return !event.isEmpty(); }
        QString title() const; ///< "onOpen", "resolve line1/tank1"
    };

    /// What the names of tests end in.
    static QString suffix();

    /// The files of a project's tests, as paths below its folder, sorted; none, with @p error set,
    /// when a link leads out of the project.
    static QStringList filesOf(const Project &project, Diagnostic &error);

    explicit ScriptTest(const QString &filePath);

    /// Why the file is no test; without a message when it is one.
    const Diagnostic &error() const { return m_file.error(); }
    bool hasFailed() const { return m_file.hasFailed(); }

    QString description() const { return m_description; }
    QString instance() const { return m_instance; } ///< empty when there is none
    DialogReach reach() const { return m_reach; } ///< of the dialogs' scripts
    const QVector<Setting> &settings() const { return m_settings; }
    const QVector<Step> &steps() const { return m_steps; }

    /// Where an element stands, for messages.
    Diagnostic placeOf(int element, const QString &message) const;
    Diagnostic placeOfKey(int valueElement, const QString &message) const; ///< of a member
    Diagnostic placeOfInstance(const QString &message) const;

    /// The file's text with other expectations of the steps; what they do not touch stays to the
    /// byte.
    /// @param expected for each step; as it was for those that stay
    QByteArray updated(const QVector<QVariantMap> &expected) const;

private:
    using Members = QMap<QString, int>; ///< the elements of an object's values, by name

    void read();
    void checkInstance();
    void readStep(int element);
    void checkStep(const Step &step, const Members &members);
    Members readMembers(int object, const QStringList &known);
    QString textOf(const Members &members, const QString &name);
    QVector<Setting> settingsOf(const Members &members);
    void readExpected(int element, Step &step);
    void expectErrors(int element, bool isEvent);
    DialogReach readReach(const Members &members);
    QVector<Setting> readSettings(int element);
    QVector<int> elements(int array, const QString &expected);
    bool expect(int element, JsonText::Type type, const QString &expected);
    void refuseMember(int valueElement, const QStringList &known);
    int endOfLastMember(int object) const;

    ProjectFile m_file;
    QString m_description;
    QString m_instance;
    int m_instanceElement = 0;
    DialogReach m_reach = DialogReach::Instance;
    QVector<Setting> m_settings;
    QVector<Step> m_steps;
};
