/**
 * Dependency script of the valves: what follows from a valve's body and actuator.
 *
 * Reads   its own body and actuator, the pipe and the short name of its line
 * Writes  its own flow limit, timeout and title, the description of its position
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 * @param {string} url this valve, for example config://pumps/station/line1/valve1
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const lineUrl = url.slice(0, url.lastIndexOf("/"));

  const nominalDiameter = api.getProperty("body/nominalDiameter", "value");
  if (nominalDiameter > api.getPropertyExtern(lineUrl + "#pipe/diameter", "value")) {
    api.setError("body/nominalDiameter", "error.valveTooWide", nominalDiameter);
  }

  const area = Math.PI * nominalDiameter * nominalDiameter / 4 / 1e6;
  const velocity = api.getPropertyExtern(lineUrl + "#pipe/maximumVelocity", "value");
  api.setPropertyExtern(url + "#limits/flow", "value", Math.round(area * velocity * 3600));

  // A quarter more than the way takes, before a moving valve counts as stuck.
  const way = api.getProperty("actuator/stroke", "value");
  const timeout = Math.ceil(1.25 * way / api.getProperty("actuator/speed", "value"));
  api.setPropertyExtern(url + "#actuator/timeout", "value", timeout);
  api.setPropertyExtern(url + "#display", "title",
                        api.getProperty("identification/tag", "value") + " "
                          + api.getPropertyExtern(lineUrl + "#identification/shortName", "value"));

  // Without a positioner a valve knows only its two ends.
  const position = processUrl + "#measurements/position";
  const hasPositioner = api.isUrlValid("positioner");
  api.setPropertyExtern(position, "continuous", hasPositioner);
  api.setPropertyExtern(position, "resolution",
                        hasPositioner ? api.getProperty("positioner/deadBand", "value") : 100);
  api.setPropertyExtern(processUrl + "#states/moving", "timeout", timeout);
}
