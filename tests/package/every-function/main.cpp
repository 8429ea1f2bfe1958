// Uses everything public of the library, for the linker to find: makes an object of each class, and
// takes the address of each function of a list that is made from the headers.

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptBorder.h"
#include "JavaScript/JavaScriptDependencyFileCache.h"
#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptDependencyResolverBase.h"
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "JavaScript/JavaScriptInplaceRootPointerHandler.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "JavaScript/JavaScriptRunObserver.h"
#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"

#include <QCoreApplication>

#include <cstdio>
#include <typeinfo>

namespace {

int s_count = 0;

template <typename Function>
void use(Function function)
{
    volatile auto address = function;
    s_count += int(address != nullptr);
}

class Observer : public JavaScriptRunObserver
{
public:
    void runBegins(const QString & /*functionName*/, const QString & /*argument*/) override { }
    void exceptionThrown(int /*line*/, const QString & /*text*/) override { }
    void runEnded(bool /*succeeded*/,
                  const QList<JavaScriptApi::ErrorMessage> & /*errors*/) override
    {
    }
};

/// A product may derive from any class.
class OwnApi : public JavaScriptApi
{
public:
    using JavaScriptApi::JavaScriptApi;
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const UnitManagerWrapper units(false, false);
    const TextManager texts;
    const SystemInformationManagerDBusProviderDescriptionHandler providers;
    const QString none;

    JavaScriptRootPointerHandler roots(none, {});
    JavaScriptRootPointerHandler rootsOfProviders(providers, none, {});
    JavaScriptInplaceRootPointerHandler inplaceRoots(none);
    JavaScriptApi api(units, roots, texts, none, none, true, nullptr);
    JavaScriptHandler handler(api, nullptr);
    JavaScriptHandlerUiWrapper wrapper(units, texts, nullptr);
    JavaScriptDependencyFileCache fileCache(none);
    JavaScriptDependencyManager manager(none, false);
    JavaScriptDependencyResolverBase resolverBase(none, none, none, manager, roots, texts, true,
                                                  nullptr);
    JavaScriptDependencyResolver resolver(none, none, none, providers, texts, {}, nullptr);
    JavaScriptInplaceDependencyResolver inplaceResolver(none, none, none, none, texts, nullptr);
    Observer observer;
    handler.setRunObserver(&observer);

    OwnApi ownApi(units, roots, texts, none, none, true, nullptr);
    QObject *object = &ownApi;
    s_count += int(dynamic_cast<JavaScriptBorder *>(object) != nullptr);
    s_count += int(typeid(*object) == typeid(OwnApi));

    // Has a private one of its name beside it.
    use(static_cast<void (JavaScriptRootPointerHandler::*)(const QString &)>(
        &JavaScriptRootPointerHandler::setChangedUrl));
#define USE(function) use(&function);
#include "functions.inc"
    std::printf("%d used\n", s_count);
    return 0;
}
