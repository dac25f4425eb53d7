const paths = {
  undo: "M9 7 4 12l5 5M4 12h10a6 6 0 0 1 0 12h-2",
  redo: "m15 7 5 5-5 5M20 12H10a6 6 0 0 0 0 12h2",
  pass: "m5 12.5 4.5 4.5L19 7.5",
  fail: "M12 3.5a8.5 8.5 0 1 0 0 17 8.5 8.5 0 0 0 0-17ZM12 8v4.5M12 16v.01",
  look: "M2.5 12S6 5.5 12 5.5 21.5 12 21.5 12 18 18.5 12 18.5 2.5 12 2.5 12ZM12 9.5a2.5 2.5 0 1 0 0 5 2.5 2.5 0 0 0 0-5Z",
  close: "m6 6 12 12M18 6 6 18",
  add: "M12 5v14M5 12h14",
  back: "M5 12a7 7 0 1 1 2.5 5.4M5 18v-5h5",
  measures: "M4 5h16M4 19h16M12 5v14M9 8l3-3 3 3M9 16l3 3 3-3",
  compare: "M12 3v18M5 6h4v12H5zM15 6h4v12h-4z",
  move: "M12 3v18M3 12h18M9.5 5.5 12 3l2.5 2.5M9.5 18.5 12 21l2.5-2.5M5.5 9.5 3 12l2.5 2.5M18.5 9.5 21 12l-2.5 2.5",
  download: "M12 4v11M7 11l5 5 5-5M5 20h14",
  camera: "M4 8h4l1.5-2.5h5L16 8h4v11H4zM12 10a3.5 3.5 0 1 0 0 7 3.5 3.5 0 0 0 0-7Z",
  folder: "M3 6h6l2 2.5h10V19H3z",
  photo: "M12 15V4M7.5 8 12 3.5 16.5 8M4 14v5.5h16V14",
  lock: "M6 11h12v9H6zM8.5 11V8a3.5 3.5 0 0 1 7 0v3",
} as const;

export type IconName = keyof typeof paths;

/** A line drawing beside words; it says nothing by itself. */
export function Icon({ name }: { name: IconName }) {
  const shift = name === "undo" || name === "redo" ? "translate(0 -3.5)" : undefined;
  return (
    <svg class="icon" viewBox="0 0 24 24" aria-hidden="true"><path d={paths[name]} transform={shift} /></svg>
  );
}
