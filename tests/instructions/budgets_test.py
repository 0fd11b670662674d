#!/usr/bin/env python3
"""How figures are judged by budgets, and taken over."""

import unittest

import budgets

HERE = {"compiler": "GNU 12.2.0", "flags": "-O3", "libc": "glibc 2.36", "processor": "with avx2"}
ELSEWHERE = {**HERE, "compiler": "GNU 13.1.0"}


class Judgement(unittest.TestCase):
    def test_passes_at_two_percent_over(self):
        self.assertEqual(budgets.judge((HERE, {"new": 100, "find": 50}), HERE, {"new": 102, "find": 20}), ([], []))

    def test_names_what_takes_more_than_two_percent_over(self):
        problems, _ = budgets.judge((HERE, {"new": 100, "find": 50}), HERE, {"new": 102.1, "find": 50})
        self.assertEqual(problems, ["over budget: new: 102.1 instructions, the budget is 100.0 (+2.1 %)"])

    def test_names_an_operation_without_budget(self):
        problems, _ = budgets.judge((HERE, {"new": 100}), HERE, {"new": 100, "find": 50})
        self.assertEqual(problems, ["no budget: find"])

    def test_names_a_budget_without_operation(self):
        problems, _ = budgets.judge((HERE, {"new": 100, "find": 50}), HERE, {"new": 100})
        self.assertEqual(problems, ["a budget, but no operation: find"])

    def test_does_not_compare_what_another_compiler_made(self):
        self.assertEqual(budgets.judge((HERE, {"new": 100}), ELSEWHERE, {"new": 300}),
                         ([], ["compiler GNU 13.1.0, the budgets are of GNU 12.2.0"]))

    def test_names_missing_operations_of_another_compiler(self):
        problems, _ = budgets.judge((HERE, {"new": 100}), ELSEWHERE, {"find": 300})
        self.assertEqual(problems, ["no budget: find", "a budget, but no operation: new"])

    def test_accepts_lower_figures_and_new_operations_only(self):
        text, problems = budgets.update((HERE, {"new": 100, "gone": 5, "find": 50}), HERE,
                                        {"new": 101, "find": 40, "walk": 7}, may_raise=False)
        self.assertEqual(problems, [])
        self.assertEqual(budgets.read(text), (HERE, {"new": 100, "find": 40, "walk": 7}))

    def test_accepts_nothing_of_another_compiler(self):
        text, problems = budgets.update((HERE, {"new": 100}), ELSEWHERE, {"new": 90}, may_raise=False)
        self.assertIsNone(text)
        self.assertIn("compiler GNU 13.1.0, the budgets are of GNU 12.2.0", problems)

    def test_raises_every_figure_when_told(self):
        text, _ = budgets.update((HERE, {"new": 100, "find": 50}), ELSEWHERE,
                                 {"new": 300, "find": 40}, may_raise=True)
        self.assertEqual(budgets.read(text), (ELSEWHERE, {"new": 300, "find": 40}))

    def test_reads_what_it_writes(self):
        kept = (HERE, {"tree of 1,000: find": 156.7, "load": 1044244.9})
        self.assertEqual(budgets.read(budgets.written(*kept)), kept)


if __name__ == "__main__":
    unittest.main()
