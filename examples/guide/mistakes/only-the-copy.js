/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  const limits = api.getProperty("motor/ratedPower", "limits");
  limits.max = 110; // only the copy
}
