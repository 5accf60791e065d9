// Completion files and the manual page, made from the catalogue.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "rasterkit/version.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/reference.h"

namespace rasterkit::tools {
namespace {

using namespace catalogue;

struct Command {
  const char* name;
  const char* arguments;
  const char* summary;
  const char* options;  // =FILE and =N stand after those that take one
};

constexpr Command kCommands[] = {
    {"run", "IN... -o OUT [STEP...]", "run a recipe on images",
     "--output=FILE --recipe=FILE --jobs=N --resume --time --quality=N --compression=N --quiet"},
    {"list", "", "show the operations", "--json"},
    {"help", "OPERATION", "explain an operation", ""},
    {"info", "IN...", "show what images are", "--json"},
    {"compare", "A B", "show how two images differ", "--output=FILE --json"},
    {"hist", "IN [NAME=VALUE...]", "show the histogram of an image, its peaks and valleys", "--json --plot=FILE"},
    {"lines", "IN [NAME=VALUE...]", "find straight lines in a grey image", "--json --overlay=FILE --over=FILE"},
    {"shade", "IN blank=FILE -o OUT", "correct uneven illumination with a picture of an empty field", "--output=FILE"},
    {"gallery", "IN... -o FOLDER", "make a page with every operation on images", "--output=FILE --quiet"},
    {"completion", "SHELL", "print the completion file for bash, zsh or fish", ""},
    {"manual", "", "print the manual page", ""},
};

struct Option {
  std::string name;   // without the dashes
  std::string takes;  // FILE, N or nothing
};

std::vector<Option> optionsOf(const Command& command) {
  std::vector<Option> options;
  const std::string text = command.options;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    const std::string word = text.substr(at + 2, end - at - 2);
    const std::size_t equals = std::min(word.find('='), word.size());
    options.push_back({word.substr(0, equals), equals < word.size() ? word.substr(equals + 1) : ""});
    at = end + 1;
  }
  return options;
}

// "-o|--output|..." of those that take a file.
std::string fileOptions() {
  std::vector<std::string> names;
  for (const Command& command : kCommands)
    for (const Option& option : optionsOf(command))
      if (option.takes == "FILE") names.push_back(option.name);
  std::ranges::sort(names);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  std::string pattern = "-o";
  for (const std::string& name : names) pattern += "|--" + name;
  return pattern;
}

std::string commandNames() {
  std::string names;
  for (const Command& command : kCommands) names += std::string(names.empty() ? "" : " ") + command.name;
  return names;
}

std::string operationNames() {
  std::string names;
  for (const Operation& operation : operations()) names += (names.empty() ? "" : " ") + operation.name;
  return names;
}

// "level= keep=lower keep=upper"
std::string argumentWords(const Operation& operation) {
  std::string words;
  const auto add = [&](const std::string& word) { words += (words.empty() ? "" : " ") + word; };
  for (const Parameter& parameter : operation.parameters) {
    if (parameter.choices.empty()) add(parameter.name + "=");
    for (const Choice& choice : parameter.choices) add(parameter.name + "=" + choice.name);
  }
  if (operation.accepts.mask == MaskUse::honoured && !operation.find("mask")) add("mask=");
  return words;
}

// case lines that set `words` to the arguments of the operation in $last.
std::string argumentCases(const char* set) {
  std::string cases;
  for (const Operation& operation : operations())
    if (const std::string words = argumentWords(operation); !words.empty())
      cases += "    " + operation.name + ") " + set + "\"" + words + "\" ;;\n";
  return cases;
}

std::string optionCases() {
  std::string cases;
  for (const Command& command : kCommands) {
    std::string words;
    for (const Option& option : optionsOf(command)) words += (words.empty() ? "--" : " --") + option.name;
    cases += std::string("    ") + command.name + ") options=\"" + words + "\" ;;\n";
  }
  return cases;
}

std::string bash() {
  return "# bash completion for rasterkit\n"
         "_rasterkit() {\n"
         "  local word=\"${COMP_WORDS[COMP_CWORD]}\" command=\"${COMP_WORDS[1]}\" last=\"\" words=\"\" options=\"\" i\n"
         "  local operations=\"" +
         operationNames() +
         "\"\n"
         "  COMPREPLY=()\n"
         "  if ((COMP_CWORD == 1)); then\n"
         "    COMPREPLY=($(compgen -W \"" +
         commandNames() +
         " --help --version\" -- \"$word\"))\n"
         "    return\n"
         "  fi\n"
         "  case \"$command\" in\n" +
         optionCases() +
         "  esac\n"
         "  if [[ $word == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$options --help\" -- \"$word\"))\n"
         "    return\n"
         "  fi\n"
         "  case \"${COMP_WORDS[COMP_CWORD - 1]}\" in\n"
         "    " +
         fileOptions() +
         ") COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n"
         "  esac\n"
         "  case \"$command\" in\n"
         "    help) COMPREPLY=($(compgen -W \"$operations exit-codes recipes\" -- \"$word\")); return ;;\n"
         "    completion) COMPREPLY=($(compgen -W \"bash zsh fish\" -- \"$word\")); return ;;\n"
         "    run) ;;\n"
         "    hist | lines | shade) operations=\"\" last=\"$command\" ;;\n"
         "    *) COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n"
         "  esac\n"
         "  for ((i = 3; i < COMP_CWORD; i++)); do\n"
         "    [[ \" $operations \" == *\" ${COMP_WORDS[i]} \"* ]] && last=\"${COMP_WORDS[i]}\"\n"
         "  done\n"
         "  case \"$last\" in\n" +
         argumentCases("words=") +
         "  esac\n"
         "  # = separates words in bash\n"
         "  if [[ $word == \"=\" || ${COMP_WORDS[COMP_CWORD - 1]} == \"=\" ]]; then\n"
         "    local parameter=\"${COMP_WORDS[COMP_CWORD - 1]}\" value=\"$word\" values=\"\"\n"
         "    [[ $parameter == \"=\" ]] && parameter=\"${COMP_WORDS[COMP_CWORD - 2]}\" || value=\"\"\n"
         "    for i in $words; do\n"
         "      [[ $i == \"$parameter=\"?* ]] && values+=\" ${i#*=}\"\n"
         "    done\n"
         "    if [[ $values ]]; then\n"
         "      COMPREPLY=($(compgen -W \"$values\" -- \"$value\"))\n"
         "    else\n"
         "      COMPREPLY=($(compgen -f -- \"$value\"))\n"
         "    fi\n"
         "    return\n"
         "  fi\n"
         "  COMPREPLY=($(compgen -W \"$operations $words\" -- \"$word\"))\n"
         "  [[ $last && $operations ]] || COMPREPLY+=($(compgen -f -- \"$word\"))\n"
         "  [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *= ]] && compopt -o nospace\n"
         "}\n"
         "complete -o filenames -F _rasterkit rasterkit\n";
}

std::string zsh() {
  std::string described;
  for (const Operation& operation : operations()) {
    std::string summary = operation.summary;
    std::erase_if(summary, [](char c) { return c == '\'' || c == ':'; });
    described += "    '" + operation.name + ":" + summary + "'\n";
  }
  std::string commands;
  for (const Command& command : kCommands)
    commands += std::string("    '") + command.name + ":" + command.summary + "'\n";
  return "#compdef rasterkit\n"
         "_rasterkit() {\n"
         "  local -a commands operations arguments\n"
         "  local last=\"\" words_of=\"\" options=\"\" i\n"
         "  commands=(\n" +
         commands +
         "  )\n"
         "  operations=(\n" +
         described +
         "  )\n"
         "  if ((CURRENT == 2)); then\n"
         "    _describe command commands\n"
         "    return\n"
         "  fi\n"
         "  case ${words[2]} in\n" +
         optionCases() +
         "  esac\n"
         "  if [[ ${words[CURRENT]} == -* ]]; then\n"
         "    compadd -- ${=options} --help\n"
         "    return\n"
         "  fi\n"
         "  case ${words[CURRENT - 1]} in\n"
         "    " +
         fileOptions() +
         ") _files; return ;;\n"
         "  esac\n"
         "  case ${words[2]} in\n"
         "    help) _describe operation operations; compadd exit-codes recipes; return ;;\n"
         "    completion) compadd bash zsh fish; return ;;\n"
         "    run) ;;\n"
         "    hist | lines | shade) operations=() last=${words[2]} ;;\n"
         "    *) _files; return ;;\n"
         "  esac\n"
         "  for ((i = 4; i < CURRENT; i++)); do\n"
         "    ((${operations[(I)${words[i]}:*]})) && last=${words[i]}\n"
         "  done\n"
         "  case $last in\n" +
         argumentCases("words_of=") +
         "  esac\n"
         "  arguments=(${=words_of})\n"
         "  ((${#arguments})) && compadd -S '' -- $arguments\n"
         "  ((${#operations})) && _describe operation operations\n"
         "  if [[ -z $last || ${#operations} == 0 ]]; then\n"
         "    _files\n"
         "  elif compset -P '*='; then\n"
         "    _files\n"
         "  fi\n"
         "}\n"
         "_rasterkit \"$@\"\n";
}

std::string fish() {
  std::string out = "# fish completion for rasterkit\n";
  const auto quoted = [](std::string text) {
    std::erase(text, '\'');
    return "'" + text + "'";
  };
  for (const Command& command : kCommands)
    out += std::string("complete -c rasterkit -n __fish_use_subcommand -f -a ") + command.name + " -d " +
           quoted(command.summary) + "\n";
  for (const Command& command : kCommands)
    for (const Option& option : optionsOf(command))
      out += std::string("complete -c rasterkit -n '__fish_seen_subcommand_from ") + command.name + "' -l " +
             option.name + (option.name == "output" ? " -s o" : "") +
             (option.takes == "FILE" ? " -r"
              : option.takes == "N"  ? " -x"
                                     : "") +
             "\n";
  out += "complete -c rasterkit -n '__fish_seen_subcommand_from completion' -f -a 'bash zsh fish'\n";
  for (const Operation& operation : operations()) {
    out += "complete -c rasterkit -n '__fish_seen_subcommand_from run help' -a " + operation.name + " -d " +
           quoted(operation.summary) + "\n";
    if (const std::string words = argumentWords(operation); !words.empty())
      out += "complete -c rasterkit -n '__fish_seen_subcommand_from run; and __fish_seen_subcommand_from " +
             operation.name + "' -a '" + words + "'\n";
  }
  for (const char* command : {"hist", "lines", "shade"})
    if (const Operation* operation = find(command))
      out += std::string("complete -c rasterkit -n '__fish_seen_subcommand_from ") + command + "' -a '" +
             argumentWords(*operation) + "'\n";
  return out;
}

// Text for roff: a backslash, and a dot or quote at a line's start, mean something there.
std::string roff(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n'))
      (out += "\\&") += c;
    else
      out += c;
  }
  return out;
}

}  // namespace

int completion(const std::string& shell) {
  const std::string text = shell == "bash" ? bash() : shell == "zsh" ? zsh() : shell == "fish" ? fish() : "";
  if (text.empty()) throw Failure(ExitCode::usage, "no completion for '" + shell + "'; there are bash, zsh and fish");
  std::fputs(text.c_str(), stdout);
  return ExitCode::success;
}

int manual() {
  std::string out = ".TH RASTERKIT 1 \"\" \"rasterkit " RASTERKIT_VERSION
                    "\" \"User Commands\"\n"
                    ".SH NAME\nrasterkit \\- raster image operations\n.SH SYNOPSIS\n";
  for (const Command& command : kCommands)
    out += std::string(".B rasterkit ") + command.name + "\n" + roff(command.arguments) + "\n.br\n";
  out +=
      ".SH DESCRIPTION\nReads PNG, TIFF, JPEG and BMP images, runs operations on them and writes the result. The "
      "output is\n"
      "written beside its place and then put there in one step, so that input and output may be the same file.\n"
      ".SH COMMANDS\n";
  for (const Command& command : kCommands)
    out += std::string(".TP\n.B ") + command.name + "\n" + roff(command.summary) + ".\n";
  out +=
      ".SH OPTIONS OF RUN\n"
      ".TP\n.B \\-o, \\-\\-output FILE\nwhere the result goes. {stem}, {name}, {ext} and {index} stand for parts of "
      "the input's name.\n"
      ".TP\n.B \\-\\-recipe FILE\ntake steps from a file, before those on the command line.\n"
      ".TP\n.B \\-j, \\-\\-jobs N\nprocess N images at once; the processor's cores where it is not given.\n"
      ".TP\n.B \\-\\-resume\nskip inputs whose output exists and is not older.\n"
      ".TP\n.B \\-\\-time\nshow what each step cost in time and memory.\n"
      ".TP\n.B \\-\\-quality N\nof JPEG files, 1 to 100.\n"
      ".TP\n.B \\-\\-compression N\nof PNG and TIFF files, 0 to 9.\n"
      ".TP\n.B \\-q, \\-\\-quiet\nshow errors only.\n"
      ".SH RECIPES\n.nf\n" +
      roff(recipeHelp()) + ".fi\n.SH OPERATIONS\n";
  for (const Operation& operation : operations()) {
    out += ".TP\n.B " + roff(synopsis(operation)) + "\n" + roff(operation.summary) + ".\n";
    for (const Parameter& parameter : operation.parameters)
      out += ".br\n" +
             roff(parameter.name + ": " + describeParameter(parameter) +
                  (parameter.helpText.empty() ? "" : "; " + parameter.helpText)) +
             "\n";
  }
  out += ".SH EXIT STATUS\n";
  for (const auto& [code, meaning] : exitCodes())
    out += ".TP\n.B " + std::to_string(code) + "\n" + roff(meaning) + "\n";
  std::fputs(out.c_str(), stdout);
  return ExitCode::success;
}

}  // namespace rasterkit::tools
