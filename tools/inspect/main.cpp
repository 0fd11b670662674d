// ztinspect: what classes are, and what files hold.
#include "core/ztlogctrl.h"
#include "tools/inspect/classes.hh"
#include "tools/inspect/convert.hh"
#include "tools/inspect/diff.hh"
#include "tools/inspect/dump.hh"
#include "tools/inspect/graph.hh"
#include "tools/inspect/output.hh"
#include "tools/inspect/plugins.hh"
#include "tools/inspect/report.hh"

#include <signal.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <new>

// Standard output has the results alone, and no log file is left.
ZT_LOG_TO("");

namespace {

using ztinspect::ClassForm;

// The words of the command line.
struct Request {
  std::vector<std::string> plugins;
  bool json = false;
  bool dot = false;
  bool noEnd = false;
  std::string file;
  std::string other;
  std::string to;
  std::string output;
  std::function<int()> run;
};

}  // namespace

static void addLoad(CLI::App *command, Request *request) {
  command->add_option("--load", request->plugins, "Load a shared library with classes first")
      ->type_name("PLUGIN")
      ->allow_extra_args(false)
      ->take_all();
}

static void addColour(CLI::App *command) {
  const auto choose = [](const std::string &when) {
    using ztinspect::Colours;
    ztinspect::chooseColours(when == "always"  ? Colours::always
                             : when == "never" ? Colours::never
                                               : Colours::automatic);
  };
  command->add_option_function<std::string>("--color", choose, "Colours: auto, always or never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
}

static void addClasses(CLI::App *program, Request *request) {
  CLI::App *command = program->add_subcommand("classes", "Show the tree of classes");
  addLoad(command, request);
  addColour(command);
  CLI::Option *json = command->add_flag("--json", request->json, "As a JSON array");
  command->add_flag("--dot", request->dot, "As a graph for Graphviz")->excludes(json);
  command->callback([request] {
    request->run = [request] {
      const ClassForm form = request->json  ? ClassForm::json
                             : request->dot ? ClassForm::dot
                                            : ClassForm::text;
      return ztinspect::showClasses(form);
    };
  });
}

static void addNoEnd(CLI::App *command, Request *request) {
  command->add_flag("--no-end", request->noEnd, "Take files without the mark of a saved tree");
}

static void addFile(CLI::App *command, Request *request) {
  command->add_option("FILE", request->file, "A stored file")->required();
}

static void addOutput(CLI::App *command, Request *request) {
  command->add_option("-o,--output", request->output, "The file to write, in place of standard output");
}

static void addDump(CLI::App *program, Request *request) {
  CLI::App *command = program->add_subcommand("dump", "Show the records of a stored file");
  addFile(command, request);
  addLoad(command, request);
  addNoEnd(command, request);
  addColour(command);
  command->add_flag("--json", request->json, "As a JSON array");
  command->callback([request] {
    request->run = [request] { return ztinspect::dump(request->file, request->json, request->noEnd); };
  });
}

static void addVerify(CLI::App *program, Request *request) {
  CLI::App *command = program->add_subcommand("verify", "Say whether a stored file is whole");
  addFile(command, request);
  addLoad(command, request);
  addNoEnd(command, request);
  command->callback(
      [request] { request->run = [request] { return ztinspect::verify(request->file, request->noEnd); }; });
}

static ztinspect::Target targetOf(const std::string &name) {
  using ztinspect::Target;
  return name == "text" ? Target::text : name == "json" ? Target::json : Target::binary;
}

static void addConvert(CLI::App *program, Request *request) {
  CLI::App *command = program->add_subcommand("convert", "Write a stored file in another form, or as JSON");
  addFile(command, request);
  addLoad(command, request);
  addNoEnd(command, request);
  command->add_option("--to", request->to, "text, binary or json")
      ->required()
      ->check(CLI::IsMember({"text", "binary", "json"}));
  addOutput(command, request);
  command->callback([request] {
    request->run = [request] {
      return ztinspect::convert(request->file, targetOf(request->to), request->output, request->noEnd);
    };
  });
}

static void addReport(CLI::App *program, Request *request) {
  CLI::App *command = program->add_subcommand("report", "Write a page that shows a stored file in a browser");
  addFile(command, request);
  addLoad(command, request);
  addNoEnd(command, request);
  addOutput(command, request);
  command->callback([request] {
    request->run = [request] { return ztinspect::report(request->file, request->output, request->noEnd); };
  });
}

static void addDiff(CLI::App *program, Request *request) {
  CLI::App *command =
      program->add_subcommand("diff", "Compare the nodes of two stored files by their identifiers");
  command->add_option("A", request->file, "A stored file")->required();
  command->add_option("B", request->other, "Another one, of any form")->required();
  addColour(command);
  addLoad(command, request);
  addNoEnd(command, request);
  command->callback([request] {
    request->run = [request] { return ztinspect::diff(request->file, request->other, request->noEnd); };
  });
}

static void addGraph(CLI::App *program, Request *request) {
  CLI::App *command = program->add_subcommand("graph", "Draw the live objects of a program, for Graphviz");
  command->add_option("REPORT", request->file, "What ztOOP_report wrote")->required();
  addOutput(command, request);
  command->callback(
      [request] { request->run = [request] { return ztinspect::graph(request->file, request->output); }; });
}

static int run(const Request &request) {
  for (const std::string &plugin : request.plugins) ztinspect::loadPlugin(plugin);
  return request.run();
}

static int runGuarded(const Request &request) {
  try {
    return run(request);
  } catch (const std::bad_alloc &) {
    ztinspect::say("memory is exhausted");
  } catch (const std::exception &problem) {
    ztinspect::say(problem.what());
  }
  return 1;
}

int main(int count, char **words) {
  // A closed pipe is an error of the write.
  signal(SIGPIPE, SIG_IGN);
  CLI::App program("Shows classes of the Zentova OOP Engine and the files that its objects are stored in.",
                   "ztinspect");
  program.set_version_flag("--version", "ztinspect " ZT_INSPECT_VERSION);
  program.require_subcommand(1);
  Request request;
  addClasses(&program, &request);
  addDump(&program, &request);
  addVerify(&program, &request);
  addConvert(&program, &request);
  addDiff(&program, &request);
  addReport(&program, &request);
  addGraph(&program, &request);
  try {
    program.parse(count, words);
  } catch (const CLI::ParseError &error) {
    // 2 for every slip on the command line; 0 for --help and --version.
    return program.exit(error) == 0 ? 0 : 2;
  }
  return runGuarded(request);
}
