import { render } from "preact";
import type { Client } from "./api/client";
import { App } from "./view/app";

/** Shows the page, in the place of the words for browsers that cannot. */
export function start(client: Client): void {
  const place = document.getElementById("page")!;
  place.replaceChildren();
  render(<App client={client} />, place);
}
