#!/usr/bin/env python3
"""Writes a program's completion for bash from its --help texts. Usage: completion.py OUTPUT COMMAND..."""
import sys

from help_text import help_of, output

HEAD = """\
# Completion of @NAME@ for bash. Made from the program's help; changes go there.
_@NAME@()
{
  local cur prev words cword split
  _init_completion -s || return

  local verb='' word
  for word in "${words[@]:1:cword-1}"; do
    [[ $word == -* ]] || { verb=$word; break; }
  done
  local options='' values='' files='' verbs=''
  case $verb in
"""
TAIL = """\
  esac

  # Behind an option that takes a value there is nothing but that value.
  local entry
  for entry in $values; do
    [[ ${entry%%=*} == "$prev" ]] || continue
    case ${entry#*=} in
      FILE | PATH) _filedir ;;
      *'|'*) local shape=${entry#*=}; mapfile -t COMPREPLY < <(compgen -W "${shape//|/ }" -- "$cur") ;;
    esac
    return
  done
  $split && return

  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
  elif [[ -n $files ]]; then
    _filedir
  else
    mapfile -t COMPREPLY < <(compgen -W "$verbs" -- "$cur")
  fi
} && complete -F _@NAME@ @NAME@
"""


def words(label, items):
    return "      %s='%s'\n" % (label, " ".join(items)) if items else ""


def case(label, help_text):
    options = help_text.entries["Options"]
    return ("    %s)\n" % label
            + words("options", [name for option in options for name in option.names()])
            + words("values", [name + "=" + option.shape() for option in options if option.shape()
                               for name in option.names()])
            + words("files", ["yes" for item in help_text.entries["Positionals"] if item.head.startswith("FILE ")])
            + words("verbs", [verb.head for verb in help_text.entries["Subcommands"]])
            + "      ;;\n")


def main():
    target, command = sys.argv[1], sys.argv[2:]
    name = output([*command, "--version"]).split()[0]
    help_text = help_of(command)
    text = HEAD + case("''", help_text) + "".join(case(verb, part) for verb, part in help_text.verbs.items()) + TAIL
    with open(target, "w", encoding="utf-8") as file:
        file.write(text.replace("@NAME@", name))


main()
