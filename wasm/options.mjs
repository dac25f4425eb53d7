// Writes src/options.ts: the options of every command, as the studio itself lists them. Run it when these change; the
// tests say so.
// usage: node options.mjs PACKAGE, the folder that build.mjs has made
import { readFileSync, writeFileSync } from "node:fs";
import { resolve } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";

const commands = [
  "background", "check", "compress", "crop", "inspect", "make", "mask", "presets", "retouch", "sheet", "watermark",
];

const camel = (name) => name.replace(/-([a-z])/g, (_, letter) => letter.toUpperCase());

function typeOf({ kind, words }) {
  if (words) return words.map((word) => JSON.stringify(word)).join(" | ");
  return { flag: "boolean", whole: "number", number: "number", text: "string" }[kind];
}

function memberOf(option) {
  const range = option.min === undefined ? "" : ` ${option.min} to ${option.max}.`;
  const help = /[.!?]$/.test(option.help) ? option.help : `${option.help}.`;
  return `  /** ${help}${range} */\n  ${camel(option.name)}${option.required ? "" : "?"}: ${typeOf(option)};\n`;
}

/** The file's text, asked of a core. */
export function optionsText(core) {
  const interfaces = commands.map((command) => {
    const { report } = core.ask({ command: "options", of: command }, []);
    const title = command[0].toUpperCase() + command.slice(1);
    return `export interface ${title}Options {\n${report.map(memberOf).join("")}}\n`;
  });
  return `// Written by options.mjs, which asks the studio.\n\n${interfaces.join("\n")}`;
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const folder = resolve(process.argv[2]);
  const { Core } = await import(pathToFileURL(`${folder}/core.js`));
  const core = await Core.load(readFileSync(`${folder}/studio.wasm`));
  writeFileSync(new URL("./src/options.ts", import.meta.url), optionsText(core));
}
