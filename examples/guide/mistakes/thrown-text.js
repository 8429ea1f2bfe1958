/// <reference path="../types/JavaScriptApi.d.ts" />

function onOk(api) {
  throw "the current is missing";
}
