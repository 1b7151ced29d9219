#include "VynExplain.h"

#include <algorithm>
#include <cstdio>

#include "Tool.h"

namespace tool {

namespace {

// In the order of ExplainRole; the names for programs, too.
const struct {
    TextId text;
    const char* name;
} roles[] = {{eTextDecides, "decides"},     {eTextSame, "same"},     {eTextShadowed, "shadowed"},
             {eTextOverruled, "overruled"}, {eTextNone, "no-value"}, {eTextNone, "not-declared"}};

void Declare(CLI::App& app, Arguments& arguments) {
    AddFiles(app, arguments);
    AddDeclared(app, arguments);
    AddJson(app, arguments);
    AddAddress(app, arguments);
}

void PrintTable(const std::vector<vyn::ExplainStep>& steps) {
    std::vector<std::string> places;
    std::vector<std::string> texts;
    size_t placeWidth = 0;
    size_t textWidth = 0;
    for (const vyn::ExplainStep& step : steps) {
        places.push_back(step.isDefault ? Text(eTextDefault)
                                        : step.file + (step.line != 0 ? ":" + std::to_string(step.line) : ""));
        texts.push_back(step.role == vyn::eNoValue ? "" : '"' + OneLine(step.text) + '"');
        placeWidth = std::max(placeWidth, places.back().size());
        textWidth = std::max(textWidth, texts.back().size());
    }
    for (size_t i = 0; i < steps.size(); ++i) {
        const bool decides = steps[i].role == vyn::eDecides;
        places[i].resize(placeWidth, ' ');
        texts[i].resize(textWidth, ' ');
        const std::string row = (decides ? "> " : "  ") + places[i] + "  " + texts[i] + "  " +
                                Text(roles[steps[i].role].text) + (steps[i].isFixed ? ", " + Text(eTextFixed) : "");
        printf("%s\n", decides ? Bold(row).c_str() : row.c_str());
    }
}

void PrintSteps(const Arguments& arguments, const vyn::ValueExplanation& explanation) {
    printf("{\"option\": %s, \"value\": %s, \"steps\":\n", Json(arguments.address).c_str(),
           Json(explanation.value).c_str());
    std::vector<std::string> objects;
    for (const vyn::ExplainStep& step : explanation.steps) {
        objects.push_back("{\"file\": " + Json(step.file) + ", \"line\": " + std::to_string(step.line) +
                          ", \"text\": " + Json(step.text) + ", \"default\": " + (step.isDefault ? "true" : "false") +
                          ", \"fixed\": " + (step.isFixed ? "true" : "false") +
                          ", \"role\": " + Json(roles[step.role].name) + "}");
    }
    PrintJson(objects);
    printf("}\n");
}

int Run(const Arguments& arguments) {
    const Address address(arguments.address);
    Stack stack(arguments, Stack::eOneOption);
    if (!stack.Has(address)) {
        ThrowNotFound(arguments.address);
    }
    vyn::ValueExplanation explanation = vyn::ExplainValue(stack.Manager(), address.key.c_str(), address.name.c_str());
    // Without declarations the default is only a stand-in.
    if (arguments.declared.empty()) {
        explanation.steps.pop_back();
    }
    if (arguments.json) {
        PrintSteps(arguments, explanation);
    } else {
        PrintTable(explanation.steps);
    }
    return eDone;
}

}  // namespace

const Command commandExplain = {"explain", eTextHelpExplain, Declare, Run};

}  // namespace tool
