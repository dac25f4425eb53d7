import { useId, useMemo, useRef, useState } from "preact/hooks";
import type { Preset } from "../api/types";
import { search } from "../state/documents";
import { Text } from "../text/text";
import { useStudio } from "../work/studio";
import { Switch } from "./fields";
import { Swatch } from "./swatch";

const allTexts = [new Text("en"), new Text("de")];

function sizeText(preset: Preset): string {
  return preset.size.replace("x", " × ").replace(/(mm|px)$/, " $1");
}

/** The document, chosen by typing its country (the combobox pattern of the ARIA practices). */
function DocumentSearch({ preset }: { preset: Preset | undefined }) {
  const { presets, dispatch, text } = useStudio();
  const id = useId();
  const input = useRef<HTMLInputElement>(null);
  const [typed, setTyped] = useState<string | null>(null);
  const [active, setActive] = useState(0);
  const open = typed !== null;
  const hits = useMemo(() => (open ? search(presets, typed, allTexts) : []), [open, typed, presets]);
  const choose = (one: Preset | undefined): void => {
    if (one) dispatch({ do: "document", preset: one.name });
    setTyped(null);
  };
  const go = (index: number): void => {
    setActive(index);
    document.getElementById(`${id}-${index}`)?.scrollIntoView({ block: "nearest" });
  };
  const onKeyDown = (event: KeyboardEvent): void => {
    if (event.key === "ArrowDown" || event.key === "ArrowUp") {
      event.preventDefault();
      if (!open) setTyped("");
      else go(Math.max(0, Math.min(hits.length - 1, active + (event.key === "ArrowDown" ? 1 : -1))));
    } else if (event.key === "Enter" && open) {
      event.preventDefault();
      choose(hits[active]);
    } else if (event.key === "Escape" && open) {
      event.preventDefault();
      setTyped(null);
    }
  };

  return (
    <div class="search">
      <label for={id}>{text.say("document.search")}</label>
      <input ref={input} id={id} role="combobox" autocomplete="off" spellcheck={false} aria-expanded={open} aria-autocomplete="list"
        aria-controls={`${id}-list`} aria-activedescendant={open && hits.length > 0 ? `${id}-${active}` : undefined}
        value={typed ?? (preset ? text.documentName(preset) : "")} onKeyDown={onKeyDown}
        onClick={() => { if (!open) { setTyped(""); setActive(0); } }}
        onInput={(event) => { setTyped(event.currentTarget.value); setActive(0); }} onBlur={() => setTyped(null)} />
      <ul id={`${id}-list`} role="listbox" aria-label={text.say("document.title")} hidden={!open || hits.length === 0}>
        {hits.map((one, index) => (
          // Pointer down, not click: the input must not lose the focus and close the list first.
          <li key={one.name} id={`${id}-${index}`} role="option" aria-selected={index === active}
            onPointerDown={(event) => event.preventDefault()} onClick={() => choose(one)}>
            <strong>{text.country(one)}</strong> <span>{text.documentTitle(one)}</span>
            <small>{sizeText(one)}</small>
          </li>
        ))}
      </ul>
      {open && hits.length === 0 && <p class="none" role="status">{text.say("document.none")}</p>}
    </div>
  );
}

/** What the document asks for, in short. */
export function DocumentPanel({ preset }: { preset: Preset | undefined }) {
  const { text } = useStudio();
  return (
    <section class="document" aria-labelledby="document-title">
      <h2 id="document-title">{text.say("document.title")}</h2>
      <DocumentSearch preset={preset} />
      {preset && (
        <dl class="facts">
          <div><dt>{text.say("document.size")}</dt><dd>{sizeText(preset)}, {text.say(preset.kind === "print" ? "document.print" : "document.file")}</dd></div>
          {preset.head && <div><dt>{text.say("document.head")}</dt><dd>{preset.head.published.replace("-", "–").replace(/(mm|%|px)$/, " $1")}</dd></div>}
          <div><dt>{text.say("document.background")}</dt><dd class="colours">
            {preset.backgrounds.map((colour) => <Swatch key={colour} colour={colour} />)}
            <span class="unseen">{preset.backgrounds.map((colour) => text.colour(colour)).join(", ")}</span>
          </dd></div>
          <div><dt>{text.say("document.authority")}</dt><dd>{preset.authority}</dd></div>
        </dl>
      )}
      <Switch name="child" label="document.child" />
    </section>
  );
}
