// SPDX-License-Identifier: Apache-2.0
// Figures of a line: yield, failing steps, how measurements spread and whether they drift.
#include "record/line_statistics.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

constexpr char kJudged[] = " in ('passed', 'marginal', 'failed')";

// Rows of a name and a count.
std::vector<Counted> counted(Database& database, const std::string& text, const RunCondition& condition) {
    Statement statement(database, text);
    for (const Parameter& parameter : condition.parameters) {
        statement.use(parameter);
    }
    Counted row;
    statement.into(row.name);
    statement.into(row.count);
    statement.run();
    std::vector<Counted> rows;
    while (statement.next()) {
        rows.push_back(row);
    }
    return rows;
}

// Of the runs that no run of the same unit and stage is before, or after: the first, or the last.
Yield yieldOf(Database& database, const RunCondition& condition, const char* before) {
    Statement statement(
        database,
        "select count(*), coalesce(sum(case when run.verdict = 'failed' then 0 else 1 end), 0) from run where " +
            condition.text + " and run.unit is not null and run.verdict" + kJudged +
            " and not exists (select 1 from run o where o.unit = run.unit and o.stage = run.stage and "
            "o.verdict" +
            kJudged + " and (o.began " + before + " run.began or (o.began = run.began and o.id " + before +
            " run.id)))");
    for (const Parameter& parameter : condition.parameters) {
        statement.use(parameter);
    }
    Yield yield;
    statement.into(yield.units);
    statement.into(yield.good);
    statement.run();
    statement.next();
    return yield;
}

std::vector<StepTime> stepTimes(Database& database, const RunCondition& condition) {
    Statement statement(database,
                        "select step.name, count(*), avg(step.seconds), min(step.seconds), max(step.seconds) from run "
                        "cross join step where step.run = run.id and step.verdict <> 'not run' and " +
                            condition.text + " group by step.name order by 3 desc, 1");
    for (const Parameter& parameter : condition.parameters) {
        statement.use(parameter);
    }
    StepTime row;
    statement.into(row.name);
    statement.into(row.count);
    statement.into(row.mean);
    statement.into(row.shortest);
    statement.into(row.longest);
    statement.run();
    std::vector<StepTime> rows;
    while (statement.next()) {
        rows.push_back(row);
    }
    return rows;
}

// Only final attempts of judged runs. These are found first: "cross join" has SQLite keep to the order.
std::vector<Series> seriesOf(Database& database, const RunCondition& condition, const std::string& measurement) {
    Statement statement(database,
                        "select m.name, m.unit, m.low, m.high, m.value from run cross join measurement m "
                        "where m.run = run.id and m.final = 1 and m.value is not null and run.verdict" +
                            std::string(kJudged) + " and " + condition.text +
                            (measurement.empty() ? "" : " and m.name = :name") +
                            " order by m.name, m.unit, m.low, m.high, m.at, m.run");
    for (const Parameter& parameter : condition.parameters) {
        statement.use(parameter);
    }
    if (!measurement.empty()) {
        statement.use(Parameter(measurement));
    }
    Series row;
    double value = 0;
    statement.into(row.name);
    statement.into(row.unit);
    statement.into(row.low);
    statement.into(row.high);
    statement.into(value);
    statement.run();
    std::vector<Series> all;
    while (statement.next()) {
        const bool isSame = !all.empty() && all.back().name == row.name && all.back().unit == row.unit &&
                            all.back().low == row.low && all.back().high == row.high;
        if (!isSame) {
            all.push_back(row);
        }
        all.back().values.push_back(value);
    }
    return all;
}

// "values 12 to 20 lie above the mean"
std::string place(std::size_t last, std::size_t count, const char* what) {
    return "values " + std::to_string(last + 2 - count) + " to " + std::to_string(last + 1) + " " + what;
}

std::string driftOf(const std::vector<double>& values, double mean) {
    constexpr int kOnOneSide = 9, kInOneDirection = 6;
    int side = 0, direction = 1;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int sign = values[i] > mean ? 1 : values[i] < mean ? -1 : 0;
        side = sign == 0 ? 0 : side * sign > 0 ? side + sign : sign;
        if (std::abs(side) == kOnOneSide) {
            return place(i, kOnOneSide, sign > 0 ? "lie above the mean" : "lie below the mean");
        }
        if (i != 0) {
            const int step = values[i] > values[i - 1] ? 1 : values[i] < values[i - 1] ? -1 : 0;
            // So many values, of which the first has no direction.
            direction = step == 0 ? 1 : direction * step > 0 && std::abs(direction) > 1 ? direction + step : 2 * step;
        }
        if (std::abs(direction) == kInOneDirection) {
            return place(i, kInOneDirection, direction > 0 ? "rise" : "fall");
        }
    }
    return "";
}

void addCapability(const Series& series, Spread& spread) {
    const double deviation = spread.deviation.value_or(0);
    if (series.values.size() < kEnough || deviation <= 0) {
        return;
    }
    if (series.low && series.high) {
        spread.cp = (*series.high - *series.low) / (6 * deviation);
    }
    for (const std::optional<double>& distance :
         {series.high ? std::optional(*series.high - spread.mean) : std::nullopt,
          series.low ? std::optional(spread.mean - *series.low) : std::nullopt}) {
        if (distance) {
            spread.cpk = std::min(spread.cpk.value_or(HUGE_VAL), *distance / (3 * deviation));
        }
    }
}

void addControl(const std::vector<double>& values, Spread& spread) {
    constexpr double kOfMovingRange = 2.66;
    if (values.size() < kEnough) {
        return;
    }
    double ranges = 0;
    for (std::size_t i = 1; i < values.size(); ++i) {
        ranges += std::fabs(values[i] - values[i - 1]);
    }
    const double distance = kOfMovingRange * ranges / static_cast<double>(values.size() - 1);
    spread.lowControl = spread.mean - distance;
    spread.highControl = spread.mean + distance;
    spread.beyondControl = static_cast<std::size_t>(std::count_if(values.begin(), values.end(), [&](double value) {
        return value < *spread.lowControl || value > *spread.highControl;
    }));
    spread.drift = driftOf(values, spread.mean);
}

}  // namespace

LineStatistics lineStatistics(Database& database, const RunFilter& filter, const std::string& measurement) {
    const RunCondition condition = conditionOf(filter);
    LineStatistics found;
    found.verdicts = counted(database,
                             "select coalesce(run.verdict, 'unfinished'), count(*) from run where " + condition.text +
                                 " group by coalesce(run.verdict, 'unfinished') order by 2 desc, 1",
                             condition);
    found.firstPass = yieldOf(database, condition, "<");
    found.final = yieldOf(database, condition, ">");
    for (const Counted& row : counted(database,
                                      "select 'runs', count(*) from run where run.unit is null and run.verdict" +
                                          std::string(kJudged) + " and " + condition.text,
                                      condition)) {
        found.withoutUnit = row.count;
    }
    found.failing = counted(database,
                            "select run.deciding_step, count(*) from run where run.verdict = 'failed' and " +
                                condition.text + " group by run.deciding_step order by 2 desc, 1",
                            condition);
    found.steps = stepTimes(database, condition);
    found.series = seriesOf(database, condition, measurement);
    return found;
}

Spread spreadOf(const Series& series) {
    const std::vector<double>& values = series.values;
    Spread spread;
    spread.count = values.size();
    if (values.empty()) {
        return spread;
    }
    const auto count = static_cast<double>(values.size());
    // By differences: sums of great numbers that hardly differ would say nothing.
    double differences = 0;
    for (const double value : values) {
        differences += value - values.front();
    }
    spread.mean = values.front() + differences / count;
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    spread.least = *least;
    spread.most = *most;
    double squares = 0;
    for (const double value : values) {
        squares += (value - spread.mean) * (value - spread.mean);
        spread.outside += (series.low && value < *series.low) || (series.high && value > *series.high) ? 1 : 0;
    }
    if (values.size() > 1) {
        spread.deviation = std::sqrt(squares / (count - 1));
    }
    addCapability(series, spread);
    addControl(values, spread);
    return spread;
}

Histogram histogramOf(const Series& series, std::size_t parts) {
    const auto [least, most] = std::minmax_element(series.values.begin(), series.values.end());
    Histogram histogram{*least, *most, std::vector<std::size_t>(parts, 0)};
    const double width = (histogram.high - histogram.low) / static_cast<double>(parts);
    for (const double value : series.values) {
        const double part = width > 0 ? (value - histogram.low) / width : 0;
        ++histogram.counts[std::min(parts - 1, static_cast<std::size_t>(part))];
    }
    return histogram;
}

}  // namespace tool
