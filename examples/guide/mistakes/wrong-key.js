/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  const limits = api.getProperty("motor/ratedPower", "limit");
  console.log(limits.max);
}
