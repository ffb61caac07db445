#include "common/shell_scripts.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace vxttools {
namespace {

struct CScript {
    const char* pszShell;
    std::string_view sText;  ///< with TOOL for the tool's name
};

// bash: what is inserted comes quoted from the tool. Where nothing but files fit, readline's own completion knows best.
constexpr CScript kScripts[] = {
    {"bash", R"script(_TOOL() {
    local answer tool=$1 files=
    [[ $tool == '~/'* ]] && tool=$HOME/${tool:2}
    COMPREPLY=()
    while IFS= read -r answer; do
        case $answer in
        :files*) files=1 ;;
        :open) compopt -o nospace ;;
        *) COMPREPLY+=("$answer") ;;
        esac
    done < <("$tool" complete --shell bash -- "${COMP_LINE:0:COMP_POINT}" "$COMP_WORDBREAKS" 2>/dev/null)
    [[ $files ]] || return 0
    compopt -o default -o filenames
    [[ ${#COMPREPLY[@]} -eq 0 ]] || while IFS= read -r answer; do COMPREPLY+=("$answer"); done < <(compgen -f -- "$2")
}
complete -o nosort -F _TOOL TOOL
)script"},
    {"zsh", R"script(#compdef TOOL
_TOOL() {
    local answer tool=${(Q)words[1]} line="${(j: :)words[1,CURRENT-1]} $QIPREFIX$IPREFIX$PREFIX" prefix= files=
    local word meaning case='m:{[:lower:][:upper:]}={[:upper:][:lower:]}'
    local -a found shown open openshown
    [[ $words[1] == '~/'* ]] && tool=$HOME/${tool#\~/}
    while IFS= read -r answer; do
        word=${answer%%$'\t'*} meaning=${answer#*$'\t'}
        if [[ $word == :files ]]; then
            files=1 prefix=$meaning
            continue
        fi
        [[ -n $meaning ]] && meaning="$word  -- $meaning" || meaning=$word
        if [[ $word == *= ]]; then
            open+=("$word") openshown+=("$meaning")
        else
            found+=("$word") shown+=("$meaning")
        fi
    done < <("$tool" complete --shell zsh -- "$line" 2>/dev/null)
    (( $#found )) && compadd -M "$case" -l -d shown -a found
    (( $#open )) && compadd -M "$case" -S '' -l -d openshown -a open
    [[ -n $files ]] || return
    [[ -z $prefix ]] || compset -P "$prefix"
    _files
}
if [[ $funcstack[1] == _TOOL ]]; then _TOOL "$@"; else compdef _TOOL TOOL; fi
)script"},
    {"fish", R"script(function __TOOL_complete
    set -l tool (string replace -r '^~/' "$HOME/" -- (commandline -opc)[1])
    for answer in ($tool complete --shell fish -- (commandline -cp | string collect) 2>/dev/null)
        set -l parts (string split -m 1 \t -- $answer)
        if test "$parts[1]" = :files
            set -l begun (string sub -s (math (string length -- "$parts[2]") + 1) -- (commandline -ct))
            for file in (__fish_complete_path "$begun")
                echo "$parts[2]$file"
            end
        else
            echo $answer
        end
    end
end
complete -c TOOL -f -k -a '(__TOOL_complete)'
)script"},
};

}  // namespace

std::string g_CompletionScript(const std::string& sShell, const std::string& sTool) {
    constexpr std::string_view kPlace = "TOOL";
    std::string sScript(std::ranges::find(kScripts, sShell, &CScript::pszShell)->sText);
    for (size_t u = 0; (u = sScript.find(kPlace, u)) != sScript.npos; u += sTool.size())
        sScript.replace(u, kPlace.size(), sTool);
    return sScript;
}

}  // namespace vxttools
