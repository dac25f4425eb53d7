/** The page in a folder of files: the studio is one of them and runs in the browser. */
import { Studio } from "@qx/idphoto";
import { LocalClient } from "./api/local";
import { start } from "./start";

/** Where build.mjs has put the studio's worker, from the page's folder. */
declare const WORKER: string;

// A worker from a file has the policy that this file is served with, which is mostly none. One from within the page has
// the page's own, which lets nothing go anywhere else.
const script = new Blob([`import ${JSON.stringify(new URL(WORKER, document.baseURI).href)};`], { type: "text/javascript" });
const address = URL.createObjectURL(script);

start(new LocalClient(new Studio({ worker: () => new Worker(address, { type: "module" }) })));
