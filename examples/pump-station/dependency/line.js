/**
 * Dependency script of the lines: what follows from the members of a line.
 *
 * Reads   its own members, pipe and bus, the rated flows, tags and addresses of its members, the
 *         limit of its bus
 * Writes  its own capacity, velocity and title, the range of its flow, the participants of its bus
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 * @param {string} url this line, for example config://pumps/station/line1
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const busUrl = "config://pumps/network/" + api.getProperty("communication/bus", "value");

  function membersOf(kind) {
    return api.getProperty("members", kind).map((name) => url + "/" + name);
  }

  // Standby pumps do not add to the capacity; the largest pumps are the duty pumps.
  const dutyPumps = api.getProperty("operation/dutyPumps", "value");
  const capacity = membersOf("pumps")
    .map((pump) => api.getPropertyExtern(pump + "#hydraulics/ratedFlow", "value"))
    .sort((a, b) => b - a)
    .slice(0, dutyPumps)
    .reduce((sum, flow) => sum + flow, 0);

  const diameter = api.getProperty("pipe/diameter", "value") / 1000;
  const area = Math.PI * diameter * diameter / 4;
  const velocity = Math.round(capacity / 3600 / area * 100) / 100;
  if (velocity > api.getProperty("pipe/maximumVelocity", "value")) {
    api.setError("pipe/diameter", "error.velocityTooHigh", velocity);
  }

  api.setPropertyExtern(url + "#operation/capacity", "value", capacity);
  api.setPropertyExtern(url + "#pipe/velocity", "value", velocity);
  api.setPropertyExtern(url + "#display", "title",
                        api.getProperty("identification/shortName", "value") + ", " + capacity
                          + " " + api.getAllUnitTexts("m3/h").en);
  api.setPropertyExtern(processUrl + "#measurements/flow", "range",
                        { min: 0, max: Math.round(1.2 * capacity) });

  const participants = membersOf("pumps").concat(membersOf("valves"))
    .map((member) => ({
      address: api.getPropertyExtern(member + "#communication/address", "value"),
      tag: api.getPropertyExtern(member + "#identification/tag", "value")
    }))
    .sort((a, b) => a.address - b.address);
  for (let i = 1; i < participants.length; ++i) {
    if (participants[i].address === participants[i - 1].address) {
      api.setError("communication/bus", "error.duplicateAddress", participants[i].address);
    }
  }
  if (participants.length > api.getPropertyExtern(busUrl + "#limits/participants", "value")) {
    api.setError("communication/bus", "error.busFull", participants.length);
  }
  api.setPropertyExtern(busUrl + "#participants", "list", participants);
}
