/**
 * Dependency script of the site: the electrical power of all pumps, on the mains and on the
 * emergency generator.
 *
 * Reads   its own list of lines and contract, the members of the lines, the pumps' rated power and
 *         emergency priority, the generator's rating
 * Writes  its own installed power and emergency plan, the range of its power, the generator's load
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 * @param {string} url the site, config://pumps/station/site
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const objectUrl = url.slice(0, url.lastIndexOf("/") + 1);
  const generatorUrl = objectUrl + api.getProperty("emergency/generator", "value");

  const pumps = [];
  api.getProperty("lines", "value").forEach((line) => {
    api.getPropertyExtern(objectUrl + line + "#members", "pumps").forEach((name) => {
      const pumpUrl = objectUrl + line + "/" + name;
      pumps.push({
        instance: line + "/" + name,
        power: api.getPropertyExtern(pumpUrl + "#motor/ratedPower", "value"),
        priority: api.getPropertyExtern(pumpUrl + "#control/emergencyPriority", "value")
      });
    });
  });

  const installed = pumps.reduce((sum, pump) => sum + pump.power, 0);
  const contract = api.getProperty("supply/contractPower", "value");
  if (installed > contract) {
    api.setError("supply/contractPower", "error.contractPower", installed);
  }
  api.setPropertyExtern(url + "#supply/installedPower", "value", installed);
  api.setPropertyExtern(processUrl + "#measurements/power", "range",
                        { min: 0, max: Math.round(1.2 * installed) });
  api.setPropertyExtern(processUrl + "#origin", "hostType", api.getHostTypeName());

  // On the generator the pumps start by priority; one that is too large gives way to the next.
  const available = api.getPropertyExtern(generatorUrl + "#rating/apparentPower", "value")
    * api.getPropertyExtern(generatorUrl + "#rating/powerFactor", "value")
    * api.getProperty("emergency/utilisation", "value") / 100;
  const plan = [];
  let load = 0;
  pumps.sort((a, b) => a.priority - b.priority).forEach((pump) => {
    if (load + pump.power <= available) {
      load += pump.power;
      plan.push(pump.instance);
    }
  });
  if (plan.length === 0) {
    console.warn("No pump can start on the generator:", available, "kW");
  }
  api.setPropertyExtern(url + "#emergency/pumps", "value", plan);
  api.setPropertyExtern(generatorUrl + "#load/planned", "value", load);
}
