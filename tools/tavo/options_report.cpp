// The options and help texts of the verbs that show surveys: a page and a picture.
#include <cstdio>
#include <memory>
#include <string>

#include "options.h"
#include "verbs.h"

namespace tavo::tool {

void addReport(CLI::App& app, Action* action) {
  const auto options = std::make_shared<ReportOptions>();
  CLI::App* const verb = addVerb(
      app, "report", "Make a page to look at: map, time, observations, findings",
      "One page for a browser, which needs no network and nothing beside it. Several texts\n"
      "come on one page, with a switch. Of surveys of more than 100,000 points the map knows\n"
      "position, number and code of each.\n"
      "Exit status: 0 no errors (warnings do not count), 1 errors in a text, 2 a file cannot\n"
      "be read or written.\n\n"
      "Example: tavo report survey.tvo -o report.html");
  verb->add_option("FILE", options->files, "Texts to show")->required()->type_name("");
  verb->add_option("-o,--output", options->output, "Page to write")->required()->type_name("PATH");
  addOverwrite(verb, &options->overwrite);
  verb->callback([=] { *action = [=] { return report(*options); }; });
}

void addPlot(CLI::App& app, Action* action) {
  const auto options = std::make_shared<PlotOptions>();
  CLI::App* const verb = addVerb(
      app, "plot", "Draw the map of a survey as a picture",
      "The picture is SVG. L is the number or the name of a layer, or one of points, lines,\n"
      "polygons, rays, setups, annotations, texts, findings. What lies in another reference\n"
      "system needs a picture of its own.\n"
      "Exit status: 0 no errors (warnings do not count), 1 errors in the text or nothing to\n"
      "draw (then nothing is written), 2 a file cannot be read or written.\n\n"
      "Example: tavo plot survey.tvo -o map.svg --layer 20,60 --size 900x600");
  verb->add_option("FILE", options->file, "Text")->required()->type_name("");
  verb->add_option("-o,--output", options->output, "Picture to write")
      ->required()
      ->type_name("PATH");
  addOverwrite(verb, &options->overwrite);
  verb->add_option("--layer", options->layers, "Draw only what is in these")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("L");
  verb->add_option("--map", options->map, "Draw this reference system, counted from 1")
      ->check(CLI::Range(1, 100000).description(""))
      ->type_name("N");
  verb->add_option_function<std::string>(
          "--size",
          [options](const std::string& size) {
            char rest = '\0';
            const int read =
                std::sscanf(size.c_str(), "%ux%u%c", &options->width, &options->height, &rest);
            const auto fits = [](unsigned pixels) { return pixels >= 200 && pixels <= 20000; };
            if (read != 2 || !fits(options->width) || !fits(options->height)) {
              throw CLI::ValidationError("--size", "'" + size +
                                                       "' is no size, such as 1200x800 (from 200 "
                                                       "to 20000 pixels)");
            }
          },
          "Size in pixels")
      ->type_name("WxH")
      ->default_str("1200x800");
  verb->callback([=] { *action = [=] { return plot(*options); }; });
}

}  // namespace tavo::tool
