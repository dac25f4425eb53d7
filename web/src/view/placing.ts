import { useEffect, useRef } from "preact/hooks";
import type { RefObject } from "preact";
import { valueOf } from "../state/options";
import { currentSettings } from "../state/reducer";
import { useStudio } from "../work/studio";

const arrows: Readonly<Record<string, readonly [number, number]>> = {
  ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1],
};
const kKeyStep = 0.5;
/** A turning wheel has no end; after this pause its steps count as one gesture. */
const kWheelPauseMs = 300;

/** Moving and scaling the person in the frame: by dragging, the wheel, and the keyboard. */
export function usePlacing(frame: RefObject<HTMLDivElement>, active: boolean) {
  const { state, dispatch } = useStudio();
  const settings = currentSettings(state);
  const drag = useRef<{ x: number; y: number; offsetX: number; offsetY: number } | null>(null);
  const zoom = valueOf<number>(settings, "zoom");
  const offsetX = valueOf<number>(settings, "offset-x");
  const offsetY = valueOf<number>(settings, "offset-y");

  const latestZoom = useRef(zoom);
  latestZoom.current = zoom;
  useEffect(() => {
    const element = frame.current;
    if (!element || !active) return;
    let pause: ReturnType<typeof setTimeout>;
    const onWheel = (event: WheelEvent): void => {
      // Where the page itself can be scrolled, the wheel is the picture's only once that was taken in hand.
      const scrolls = document.documentElement.scrollHeight > innerHeight;
      if (scrolls && document.activeElement !== element) return;
      event.preventDefault();
      const next = latestZoom.current - Math.sign(event.deltaY);
      dispatch({ do: "setAll", values: { zoom: next }, gesture: "wheel" });
      clearTimeout(pause);
      pause = setTimeout(() => dispatch({ do: "settle" }), kWheelPauseMs);
    };
    // Not passive: the page must not scroll meanwhile, and only a listener added by hand may say so.
    element.addEventListener("wheel", onWheel, { passive: false });
    return () => element.removeEventListener("wheel", onWheel);
  }, [frame.current, active]);

  if (!active) return {};
  return {
    onPointerDown: (event: PointerEvent): void => {
      const touch = event.pointerType === "touch";
      if (event.button !== 0 || (touch && !frame.current?.classList.contains("moving"))) return;
      frame.current?.setPointerCapture(event.pointerId);
      drag.current = { x: event.clientX, y: event.clientY, offsetX, offsetY };
    },
    onPointerMove: (event: PointerEvent): void => {
      const start = drag.current;
      const box = frame.current?.getBoundingClientRect();
      if (!start || !box) return;
      const values = {
        "offset-x": start.offsetX + ((event.clientX - start.x) / box.width) * 100,
        "offset-y": start.offsetY + ((event.clientY - start.y) / box.height) * 100,
      };
      dispatch({ do: "setAll", values, gesture: "drag" });
    },
    onPointerUp: (): void => {
      drag.current = null;
      dispatch({ do: "settle" });
    },
    onKeyDown: (event: KeyboardEvent): void => {
      if (event.target !== frame.current || event.ctrlKey || event.metaKey || event.altKey) return;
      const arrow = arrows[event.key];
      const closer = event.key === "+" || event.key === "=" ? 1 : event.key === "-" ? -1 : 0;
      if (!arrow && !closer) return;
      event.preventDefault();
      const step = kKeyStep * (event.shiftKey && arrow ? 5 : 1);
      const values: Readonly<Record<string, number>> = arrow
        ? { "offset-x": offsetX + arrow[0] * step, "offset-y": offsetY + arrow[1] * step }
        : { zoom: zoom + closer };
      dispatch({ do: "setAll", values, gesture: "keys" });
    },
    onKeyUp: (event: KeyboardEvent): void => {
      if (event.target === frame.current) dispatch({ do: "settle" });
    },
  };
}
