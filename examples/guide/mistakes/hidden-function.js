/// <reference path="../types/JavaScriptApi.d.ts" />

const onOpen = (api) => {
  api.setProperty("motor/ratedCurrent", "value", 20.8);
};
