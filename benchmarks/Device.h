#pragma once

#include "Fixture.h"
#include "PlainHandler.h"

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"

/**
 * One instance with a script, once for the library and once for plain Qt: two trees from the same
 * text, and the same script in two engines. Its URL is config://plant/station/device, where scripts
 * reach one more tree of the same text.
 */
class Device
{
public:
    /**
     * @param tree the text of the instance's tree
     * @param script what to evaluate on both sides
     */
    Device(const QByteArray &tree, const QString &script);

    /// The tree that the script reaches by relative URL, in the library.
    const PlainApi::Node &oursRoot() const { return m_root; }

    /// The one that it reaches by absolute URL, in the library.
    PlainApi::Node oursExternRoot() const;

    JavaScriptHandler &ours() { return m_handler; }
    PlainHandler &floor() { return m_floor; }

    static QString url() { return QStringLiteral("config://plant/station/device"); }

private:
    PlainApi::Node readTree() const;

    Fixture::ScratchProject m_project;
    PlainApi::Node m_root;
    UnitManagerWrapper m_units;
    TextManager m_texts;
    JavaScriptRootPointerHandler m_rootPointerHandler;
    JavaScriptApi m_api;
    JavaScriptHandler m_handler;
    PlainHandler m_floor;
};
