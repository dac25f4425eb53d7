import { useEffect, useMemo, useReducer, useState } from "preact/hooks";
import type { Client } from "../api/client";
import type { Preset } from "../api/types";
import { likelyDocument } from "../state/documents";
import { currentPhoto, currentSettings, empty, reduce } from "../state/reducer";
import { languages, preferredLanguage, Text, type Language } from "../text/text";
import { StudioContext, useStudio, type Studio } from "../work/studio";
import { useListChecks } from "../work/use_list_checks";
import { useResult } from "../work/use_result";
import { useConnection, useUploads } from "../work/use_uploads";
import { AdjustPanel } from "./adjust";
import { Camera } from "./camera";
import { ChecksPanel } from "./checks";
import { DocumentPanel } from "./document";
import { DownloadPanel } from "./download";
import { Icon } from "./icons";
import { PhotoList } from "./list";
import { PersonPanel } from "./person";
import { DropAnywhere } from "./pick";
import { Sheet } from "./sheet";
import { Stage } from "./stage";
import { Start } from "./start";

function Header({ language, onLanguage, onCamera }: { language: Language; onLanguage: (to: Language) => void; onCamera: () => void }) {
  const { state, dispatch, text } = useStudio();
  const history = currentPhoto(state)?.history;
  return (
    <header class="bar">
      {history && <a class="unseen" href="#stage">{text.say("app.skip")}</a>}
      <span class="brand"><svg viewBox="0 0 32 32" aria-hidden="true"><rect x="5" y="2" width="22" height="28" rx="4" /><circle cx="16" cy="13" r="5" /><path d="M7.5 28a8.5 8.5 0 0 1 17 0z" /></svg>idphoto</span>
      <div class="tools">
        {history && (
          <>
            <button type="button" class="quiet" disabled={history.past.length === 0} aria-label={text.say("app.undo")} title={text.say("app.undo")}
              onClick={() => dispatch({ do: "undo" })}><Icon name="undo" /></button>
            <button type="button" class="quiet" disabled={history.future.length === 0} aria-label={text.say("app.redo")} title={text.say("app.redo")}
              onClick={() => dispatch({ do: "redo" })}><Icon name="redo" /></button>
            <button type="button" class="quiet" aria-label={text.say("start.camera")} title={text.say("start.camera")} onClick={onCamera}><Icon name="camera" /></button>
          </>
        )}
        <select aria-label={text.say("app.language")} value={language} onChange={(event) => onLanguage(event.currentTarget.value as Language)}>
          {Object.entries(languages).map(([tag, name]) => <option key={tag} value={tag} lang={tag}>{name}</option>)}
        </select>
      </div>
    </header>
  );
}

type Panel = "document" | "checks" | "adjust" | "download";
const panels: readonly Panel[] = ["document", "checks", "adjust", "download"];

/** The work on one photograph. On a narrow screen one panel at a time stands below the picture. */
function Workplace() {
  const studio = useStudio();
  const { state, presets, text } = studio;
  const [panel, setPanel] = useState<Panel>("document");
  const [sheet, setSheet] = useState(false);
  const photo = currentPhoto(state);
  const preset = presets.find((one) => one.name === currentSettings(state).preset);
  const result = useResult(studio, preset);
  useListChecks(studio);
  const toMend = photo?.verdict?.failed ?? 0;
  return (
    <main class={`work show-${panel}`}>
      <Stage result={result} preset={preset} />
      <nav class="panels">
        {panels.map((one) => (
          <button key={one} type="button" aria-pressed={one === panel} onClick={() => setPanel(one)}>
            {text.say(one === "download" ? "download.short" : `${one}.title`)}
            {one === "checks" && toMend > 0 && <span class="badge">{toMend}</span>}
          </button>
        ))}
      </nav>
      <div class="left">
        <div class="of-document"><PhotoList /><DocumentPanel preset={preset} /><PersonPanel preset={preset} /></div>
        <div class="of-checks"><ChecksPanel result={result} /></div>
      </div>
      <div class="right">
        <div class="of-adjust"><AdjustPanel preset={preset} /></div>
        <div class="of-download"><DownloadPanel result={result} preset={preset} onSheet={() => setSheet(true)} /></div>
      </div>
      {sheet && photo && preset && <Sheet photo={photo} preset={preset} onClose={() => setSheet(false)} />}
    </main>
  );
}

/** Undo and redo by the usual keys, but not where they belong to a text field. */
function useUndoKeys(dispatch: Studio["dispatch"]): void {
  useEffect(() => {
    const onKey = (event: KeyboardEvent): void => {
      const typing = event.target instanceof HTMLInputElement && !["range", "checkbox", "radio", "file"].includes(event.target.type);
      if (typing || !(event.ctrlKey || event.metaKey)) return;
      const key = event.key.toLowerCase();
      if (key !== "z" && key !== "y") return;
      event.preventDefault();
      dispatch({ do: key === "y" || event.shiftKey ? "redo" : "undo" });
    };
    addEventListener("keydown", onKey);
    return () => removeEventListener("keydown", onKey);
  }, []);
}

export function App({ client }: { client: Client }) {
  const [state, dispatch] = useReducer(reduce, empty);
  const [presets, setPresets] = useState<readonly Preset[]>([]);
  const [language, setLanguage] = useState(() => preferredLanguage(navigator.languages));
  const [camera, setCamera] = useState(false);
  const text = useMemo(() => new Text(language), [language]);
  useEffect(() => { document.documentElement.lang = language; }, [language]);
  useEffect(() => {
    if (presets.length > 0 || !state.online) return;
    client.presets().then((all) => {
      setPresets(all);
      dispatch({ do: "document", preset: likelyDocument(all, navigator.languages) });
    }, () => dispatch({ do: "online", online: false }));
  }, [state.online]);
  useUploads(state, dispatch, client);
  useConnection(state.online, dispatch, client);
  useUndoKeys(dispatch);
  return (
    <StudioContext.Provider value={{ state, dispatch, client, presets, text }}>
      <Header language={language} onLanguage={setLanguage} onCamera={() => setCamera(true)} />
      {!state.online && <p class="offline" role="alert">{text.say(client.silence)}</p>}
      {state.photos.length === 0 ? <main class="empty"><Start onCamera={() => setCamera(true)} /></main> : <Workplace />}
      {camera && <Camera onClose={() => setCamera(false)} />}
      <DropAnywhere />
    </StudioContext.Provider>
  );
}
