// zelhealth list: what is known of each test. zelhealth plan check: whether a plan can be run.
#include "cli/List.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "catalogue/Catalogue.h"
#include "cli/Host.h"
#include "host/Print.h"
#include "plan/Plan.h"

namespace zelhealth {

namespace {

std::string Seconds(double seconds, double perGib) {
    return perGib > 0 ? fmt::format("{:g}+{:g}/GiB", seconds, perGib)
                      : fmt::format("{:g}", seconds);
}

std::string Joined(const std::vector<std::string>& words) {
    return words.empty() ? "-" : fmt::format("{}", fmt::join(words, ","));
}

int List() {
    constexpr auto kForm = "{:<10} {:<10} {:<6} {:<9} {:<9} {:>9} {:>10}  {}\n";
    std::string text = fmt::format(kForm, "test", "kind", "mode", "resources", "cards", "expected",
                                   "deadline", "reads");
    for (const TestRow& row : Catalogue::BuiltIn().Tests()) {
        text += fmt::format(kForm, row.Id(), row.disturbs ? "disruptive" : "passive",
                            NameOf(row.mode), Joined(row.resources), Joined(row.generations),
                            Seconds(row.expectedSeconds, row.perGibSeconds),
                            Seconds(row.deadlineSeconds, row.perGibSeconds), row.reads);
    }
    Print(stdout, text);
    return kGood;
}

int CheckPlan(const std::string& file) {
    try {
        const Plan plan = LoadPlan(file);
        Print(stdout, fmt::format("{}: {} tests{}{}\n", file, plan.tests.size(),
                                  plan.about.empty() ? "" : ", ", plan.about));
        return kGood;
    } catch (const PlanError& error) {
        Complain(error.what());
        return kUnknown;
    }
}

}  // namespace

void DeclareList(CLI::App& app, int& status) {
    CLI::App* const command = app.add_subcommand("list", "The tests, and what is known of them");
    command->callback([&status] { status = List(); });
}

void DeclarePlan(CLI::App& app, int& status) {
    CLI::App* const plan = app.add_subcommand("plan", "Plans");
    plan->require_subcommand(1);
    CLI::App* const check = plan->add_subcommand("check", "Say what is wrong with a plan");
    const auto file = std::make_shared<std::string>();
    check->add_option("PLAN", *file, "A file, or the name of a plan that is built in")->required();
    check->callback([file, &status] { status = CheckPlan(*file); });
}

}  // namespace zelhealth
