# Completion of idphoto for bash; needs nothing else.

_idphoto_options() {
  local document='--preset --size --dpi --head --head-to --top --face-width --eyes'
  local retouch='--beauty --mouth --tone --skin --detail --face'
  local adjust='--brightness --contrast --saturation --temperature --tint --white-balance --sharpness'
  local framing='--zoom --offset-x --offset-y --turn'
  local finish='--background --max-kb --min-kb --relax --no-straighten --keep-rim --child --strict --force --pair'
  local queue='--queue --queue-password-file --queue-ca --queue-cert --queue-key'
  local common='-h --help'
  case $1 in
    '') echo "$common --version" ;;
    crop) echo "$common -o --output --ratio --bound --src-same --format --max-megapixels" ;;
    inspect) echo "$common --json --draw --points --max-megapixels" ;;
    make)
      echo "$common -o --output $document $retouch $adjust $framing $finish --mask --person --compare --quiet" \
        "--json --max-megapixels"
      ;;
    mask) echo "$common -o --output --cutout --person --pair --keep-rim --dpi --quiet --max-megapixels" ;;
    background)
      echo "$common -o --output --background --person --pair --keep-rim --max-kb --dpi --quiet --json" \
        "--max-megapixels"
      ;;
    retouch) echo "$common -o --output --eyes $retouch --compare --person --quiet --max-megapixels" ;;
    presets) echo "$common --search --country --json" ;;
    check) echo "$common $document --child --json --verbose --draw --html --max-megapixels" ;;
    sheet) echo "$common -o --output --paper --copies --size --dpi --margin --gap --max-megapixels" ;;
    compress) echo "$common -o --output --max-kb --min-kb --dpi --quiet --json --max-megapixels" ;;
    watermark)
      echo "$common -o --output --text --opacity --angle --color --space --size --max-kb --dpi --quiet --json" \
        "--max-megapixels"
      ;;
    batch)
      echo "$common -o --output $document $retouch $adjust $framing $finish --format --jobs --report --resume" \
        "--shard --max-megapixels"
      ;;
    report) echo "$common -o --output" ;;
    serve) echo "$common --listen --jobs --max-upload --token-file --host --cors --page --open" ;;
    work)
      echo "$common $queue --jobs --prefetch --timeout --max-file --max-megapixels --read-from --write-to --drain" \
        "--metrics --config"
      ;;
    submit)
      echo "$common $queue -o --output --list --jsonl $document $retouch $adjust $framing $finish --format" \
        "--max-megapixels"
      ;;
    collect) echo "$common $queue --report --wait --expect" ;;
  esac
}

_idphoto_presets() { "$1" presets 2>/dev/null | awk 'NR > 1 && $1 != "*" { print $1 }'; }

_idphoto_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2"); }

_idphoto_files() { # kind (-f or -d), word
  compopt -o filenames 2>/dev/null # fails outside a completion
  mapfile -t COMPREPLY < <(compgen "$1" -- "$2")
}

_idphoto() {
  local program=$1 word=$2 before=$3 command='' i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]} && break; }
  done
  [[ $word != = ]] || word=''
  [[ $before != = ]] || before=${COMP_WORDS[COMP_CWORD - 2]} # --preset=NAME comes as three words
  case $before in
    --preset) _idphoto_words "$(_idphoto_presets "$program")" "$word" && return ;;
    --paper) _idphoto_words '3.5x5 4x6 5x7 6x8 8x10 A3 A4 A5 A6 A7 letter' "$word" && return ;;
    --head-to) _idphoto_words 'crown hair' "$word" && return ;;
    --color) _idphoto_words 'white grey black red blue' "$word" && return ;;
    --white-balance) _idphoto_words 'auto keep' "$word" && return ;;
    --beauty) _idphoto_words 'light natural strong' "$word" && return ;;
    --format) _idphoto_words 'png jpg' "$word" && return ;;
    --points) _idphoto_words 'key landmarks dense' "$word" && return ;;
    --background) _idphoto_words 'white lightgrey lightblue blue red keep transparent gradient:' "$word" && return ;;
    -o | --output)
      case $command in
        crop | batch | submit) _idphoto_files -d "$word" ;;
        *) _idphoto_files -f "$word" ;;
      esac
      return
      ;;
    --mask | --cutout | --draw | --html | --report | --token-file | --list | --jsonl | --config | --queue-password-file | --queue-ca | \
      --queue-cert | --queue-key) _idphoto_files -f "$word" && return ;;
    --read-from | --write-to | --page) _idphoto_files -d "$word" && return ;;
    # A number, a length or words: nothing to offer.
    --ratio | --bound | --size | --dpi | --head | --top | --face-width | --eyes | --mouth | --tone | --skin | --face | \
      --brightness | --contrast | --saturation | --temperature | --tint | --sharpness | \
      --zoom | --offset-x | --offset-y | --turn | \
      --max-kb | --min-kb | --person | --copies | --margin | --gap | --jobs | --shard | --search | --country | \
      --text | --opacity | --angle | --space | --listen | --host | --max-upload | --max-megapixels | \
      --queue | --prefetch | --timeout | --max-file | --metrics | --expect) return ;;
  esac
  if [[ $word == -* ]]; then
    _idphoto_words "$(_idphoto_options "$command")" "$word"
  elif [[ -z $command ]]; then
    _idphoto_words 'crop inspect make mask background retouch presets check sheet compress watermark batch report serve work submit collect' \
      "$word"
  elif [[ $command == presets ]]; then
    _idphoto_words "$(_idphoto_presets "$program")" "$word"
  else
    _idphoto_files -f "$word"
  fi
}

complete -F _idphoto idphoto
