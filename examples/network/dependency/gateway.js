/**
 * Dependency script of the gateway: how much it has to poll.
 *
 * Reads   its own list of buses, the period and the limit of each
 * Writes  its own number of participants and requests, the range of its request counter
 *
 * It reads the limit of a bus and not its participants: those are written by the pump station.
 *
 * @param {JavaScriptApi} api
 * @param {string} url the gateway, config://pumps/network/gateway
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const objectUrl = url.slice(0, url.lastIndexOf("/") + 1);

  let participants = 0;
  let requests = 0;
  api.getProperty("buses", "value").forEach((bus) => {
    const limit = api.getPropertyExtern(objectUrl + bus + "#limits/participants", "value");
    participants += limit;
    requests += limit * 1000 / api.getPropertyExtern(objectUrl + bus + "#polling/period", "value");
  });

  if (requests > api.getProperty("load/maximum", "value")) {
    api.setError("load/maximum", "error.gatewayOverload", requests);
  }
  api.setPropertyExtern(url + "#load/participants", "value", participants);
  api.setPropertyExtern(url + "#load/requests", "value", Math.round(requests));
  api.setPropertyExtern(processUrl + "#counters/requestRate", "range",
                        { min: 0, max: Math.round(requests) });
}
