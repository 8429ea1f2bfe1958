#include "JavaScriptRun.h"

#include <utility>

JavaScriptRun::JavaScriptRun(JavaScriptApi &api, QJSEngine &engine,
                             JavaScriptArgumentReader &reader, JavaScriptRunObserver *observer)
    : m_api(api)
    , m_engine(engine)
    , m_reader(reader)
    , m_observer(observer)
    , m_outer(std::exchange(api.m_run, this))
{
}

JavaScriptRun::~JavaScriptRun()
{
    m_api.m_run = m_outer;
}

void JavaScriptRun::setErrorsAside(const JavaScriptApi &api)
{
    if (api.m_run) {
        api.m_run->m_errors += api.getListOfErrors();
    }
}

void JavaScriptRun::restoreErrors()
{
    if (m_errors.isEmpty()) {
        return;
    }
    const auto errors = std::exchange(m_errors, {}) + m_api.getListOfErrors();
    m_api.deleteListOfErrors();
    for (const JavaScriptApi::ErrorMessage &error : errors) {
        m_api.setError(error.relUrl, error.errorLabelTextId, error.value);
    }
}
