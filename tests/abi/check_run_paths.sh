#!/usr/bin/env bash
# By an empty element of a run path the loader looks in the current folder, wherever that is.
#   check_run_paths.sh BUILD_FOLDER
set -euo pipefail
export LC_ALL=C
bad=
seen=0
while IFS= read -r file; do
    path=$(readelf -d "$file" 2>/dev/null | sed -n 's/.*(R\(UN\)\?PATH).*\[\(.*\)\]$/\2/p')
    [ -n "$path" ] || continue
    seen=$((seen + 1))
    case ":$path:" in
    *::*) bad+=" $file [$path]" ;;
    esac
done < <(find "$1/bin" "$1/lib" "$1/examples" -type f \( -perm -u+x -o -name '*.so*' \))
[ -z "$bad" ] || { echo "check_run_paths: empty elements:$bad" >&2; exit 1; }
[ "$seen" -gt 3 ] || { echo "check_run_paths: only $seen files with a run path" >&2; exit 1; }
