import type { ComponentChildren } from "preact";
import { useEffect, useId, useRef } from "preact/hooks";
import { useStudio } from "../work/studio";
import { Icon } from "./icons";

/** A dialogue over the page; the browser keeps the focus inside and gives it back. */
export function Dialog({ title, onClose, children }: { title: string; onClose: () => void; children: ComponentChildren }) {
  const { text } = useStudio();
  const id = useId();
  const element = useRef<HTMLDialogElement>(null);
  useEffect(() => element.current?.showModal(), []);
  return (
    <dialog ref={element} aria-labelledby={id} onClose={onClose}>
      <header>
        <h2 id={id}>{title}</h2>
        <button type="button" class="quiet" aria-label={text.say("sheet.close")} onClick={() => element.current?.close()}>
          <Icon name="close" />
        </button>
      </header>
      {children}
    </dialog>
  );
}
