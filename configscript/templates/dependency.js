/// <reference path="@TYPES@" />
// @ts-check

/*
 * Dependency script: brings in line what depends on an instance whose root names this file as its
 * "dependencyFileExtern", if configuration/manifest.json lists the instance.
 *
 * All scripts of a run share one engine, and run in any order. Keep helpers inside onSave, and let
 * each property have one script that writes it.
 *
 * Try it: configscript resolve PROJECT INSTANCE --dry-run
 */

/**
 * url is the instance's absolute URL, for example config://pumps/station/line1. Write by absolute
 * URL only: nobody saves what is written by relative URL here.
 *
 * @type {OnSave}
 */
function onSave(api, url) {
  // const power = api.getProperty("motor/ratedPower", "value");
  // api.setPropertyExtern(url + "#limits/power", "value", 1.1 * power);
}
