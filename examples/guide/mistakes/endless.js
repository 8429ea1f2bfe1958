/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  let power = api.getProperty("motor/ratedPower", "value");
  while (power !== 0) {
    power = Math.round((power - 0.3) * 10) / 10;
  }
}
