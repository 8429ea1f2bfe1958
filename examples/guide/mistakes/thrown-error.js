/// <reference path="../types/JavaScriptApi.d.ts" />

function onOk(api) {
  throw new Error("the current is missing");
}
