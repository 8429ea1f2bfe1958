// The lines are selector URLs, and the parts of one: scheme, module, object, instance and path.
#include "fuzz/FuzzSupport.h"
#include "host/SelectorUrlHandler.h"

#include <QStringList>

#include <algorithm>

namespace {

QStringList partsOf(const SelectorUrlHandler &url)
{
    return {url.getScheme(), url.getModuleName(), url.getObjectName(), url.getInstance(),
            url.getUrl()};
}

QString shown(const QStringList &parts)
{
    return parts.join(QLatin1Char('|'));
}

void requireSame(const SelectorUrlHandler &url)
{
    const QString text = url.toString();
    const SelectorUrlHandler again(text);
    if (partsOf(again) != partsOf(url)) {
        Fuzzing::fail("the parts that the URL was built from",
                      shown(partsOf(url)) + QLatin1Char('\n') + shown(partsOf(again)));
    }
    Fuzzing::require(again.isValid() == url.isValid(), "an equally valid URL", text);
    Fuzzing::require(again.toString() == text, "the same URL", text);
    Fuzzing::require(text.count(QLatin1Char('#')) == (url.getUrl().isEmpty() ? 0 : 1),
                     "one \"#\" in front of a path, and no other", text);
    Fuzzing::require(std::none_of(text.begin(), text.end(),
                                  [](QChar character) {
                                      return character <= QLatin1Char(' ')
                                          || character == QLatin1Char('\x7f');
                                  }),
                     "neither blanks nor control characters", text);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Fuzzing::setUp();
    const QStringList lines =
        Fuzzing::textOf(Fuzzing::bytesOf(data, size)).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const SelectorUrlHandler url(line);
        requireSame(url);
        Fuzzing::require(!url.isValid()
                             || (!url.getScheme().isEmpty() && !url.getObjectName().isEmpty()
                                 && !url.getInstance().isEmpty()),
                         "scheme, object and instance in a valid URL", line);
        Fuzzing::require(!url.isConfigurationScheme() || !url.isProcessDataScheme(), "one scheme",
                         line);
    }
    requireSame(SelectorUrlHandler(QString())
                    .setScheme(lines.value(0))
                    .setModuleName(lines.value(1))
                    .setObjectName(lines.value(2))
                    .setInstance(lines.value(3))
                    .setUrl(lines.value(4)));
    // One part at a time in the place of another, in a URL that was parsed.
    requireSame(SelectorUrlHandler(lines.value(0)).setUrl(lines.value(1)));
    return 0;
}
