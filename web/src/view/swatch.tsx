/** A drop of colour beside its name; SVG attributes, for the page allows no inline style. */
export function Swatch({ colour, to }: { colour: string; to?: string }) {
  return (
    <svg class="swatch" viewBox="0 0 20 20" aria-hidden="true">
      <rect x=".5" y=".5" width="19" height="19" rx="5" fill={colour} />
      {to && <path d="M.5 10h19v4.5a5 5 0 0 1-5 5h-9a5 5 0 0 1-5-5z" fill={to} />}
    </svg>
  );
}
