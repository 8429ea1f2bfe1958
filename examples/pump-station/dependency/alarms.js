/**
 * Dependency script of the alarm list: every enabled alarm of the plant, sorted by alarm class.
 *
 * Reads   the alarm classes, the lines of the site and their members, the alarms of pumps and tanks
 * Writes  its own lists and legend, the ranges of its counters
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 * @param {string} url the alarm list, config://pumps/station/site/alarms
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const siteUrl = url.slice(0, url.lastIndexOf("/"));
  const objectUrl = siteUrl.slice(0, siteUrl.lastIndexOf("/") + 1);
  const alarmsOf = {
    pumps: ["overcurrent", "overtemperature", "dryRun"],
    tanks: ["dry", "low", "high", "overflow"]
  };

  // Instances are listed in no particular order; sorted, the legend stays as it is.
  const legend = api.getListOfNodeInstancesWithText(siteUrl + "/alarmClasses", true);
  legend.sort((a, b) => (a.url < b.url ? -1 : 1));
  const lists = {};
  legend.forEach((alarmClass) => {
    lists[alarmClass.url] = [];
  });

  api.getPropertyExtern(siteUrl + "#lines", "value").forEach((line) => {
    ["pumps", "tanks"].forEach((kind) => {
      api.getPropertyExtern(objectUrl + line + "#members", kind).forEach((name) => {
        alarmsOf[kind].forEach((alarm) => {
          const source = line + "/" + name + "#alarms/" + alarm;
          if (!api.getPropertyExtern(objectUrl + source, "enabled")) {
            return;
          }
          const list = lists[api.getPropertyExtern(objectUrl + source, "class")];
          if (list) {
            list.push(source);
          } else {
            api.setError("lists", "error.unknownAlarmClass", source);
          }
        });
      });
    });
  });

  api.setPropertyExtern(url + "#legend", "choices", legend);
  legend.forEach((alarmClass) => {
    const list = lists[alarmClass.url];
    api.setPropertyExtern(url + "#lists/" + alarmClass.url, "alarms", list);
    api.setPropertyExtern(processUrl + "#active/" + alarmClass.url, "range",
                          { min: 0, max: list.length });
  });
  console.log("Alarm list:",
              legend.map((alarmClass) => alarmClass.url + " " + lists[alarmClass.url].length)
                .join(", "));
}
