import { render } from "preact";
import { App } from "./view/app";

render(<App />, document.getElementById("page")!);
