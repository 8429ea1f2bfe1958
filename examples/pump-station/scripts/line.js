/**
 * User-interface script of the lines: checks the members and the pipe.
 *
 * Writes  pipe/crossSection, by relative URL
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 */
function onOpen(api) {
  lineCalculate(api);
}

/**
 * @param {JavaScriptApi} api
 * @param {string} [url] the node that the user changed, none for the root
 */
function onValueChange(api, url) {
  if (url === "members" || url === "operation/dutyPumps") {
    lineCheckMembers(api);
  } else if (url === "pipe/diameter") {
    lineCheckDiameter(api);
    lineCalculate(api);
  }
}

/**
 * @param {JavaScriptApi} api
 * @returns {boolean} false keeps the dialog open
 */
function onOk(api) {
  const membersAreRight = lineCheckMembers(api);
  return lineCheckDiameter(api) && membersAreRight;
}

/** @param {JavaScriptApi} api */
function lineCheckMembers(api) {
  const pumps = api.getProperty("members", "pumps");
  if (pumps.some((name, index) => pumps.indexOf(name) !== index)) {
    api.setError("members", "error.duplicateMember");
    return false;
  }
  const dutyPumps = api.getProperty("operation/dutyPumps", "value");
  if (!(dutyPumps >= 1 && dutyPumps <= pumps.length)) {
    api.setError("operation/dutyPumps", "error.dutyPumps", pumps.length);
    return false;
  }
  return true;
}

/** @param {JavaScriptApi} api */
function lineCheckDiameter(api) {
  const choices = api.getProperty("pipe/diameter", "choices");
  const diameter = api.getProperty("pipe/diameter", "value");
  if (!choices.includes(diameter)) {
    api.setError("pipe/diameter", "error.noSuchDiameter", diameter);
    return false;
  }
  return true;
}

/** @param {JavaScriptApi} api */
function lineCalculate(api) {
  const diameter = api.getProperty("pipe/diameter", "value");
  const crossSection = Math.PI * diameter * diameter / 4 / 100;
  if (isFinite(crossSection)) {
    api.setProperty("pipe/crossSection", "value", Math.round(crossSection * 10) / 10);
  }
}
