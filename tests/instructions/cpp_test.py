#!/usr/bin/env python3
"""How the figures of the layer for C++ are judged."""

import unittest

import cpp


class Judgement(unittest.TestCase):
    def test_passes_at_three_percent_over(self):
        self.assertEqual(list(cpp.problems_of({"C: get": 100, "C++: get": 103})), [])

    def test_names_what_takes_more_than_three_percent_over(self):
        self.assertEqual(list(cpp.problems_of({"C: get": 100, "C++: get": 103.5})),
                         ["get: 103.5 instructions in C++, 100.0 in C (+3.5 %)"])

    def test_names_an_operation_without_its_pair(self):
        for figures in ({"C: get": 100}, {"C++: get": 100}, {}):
            self.assertEqual(list(cpp.problems_of(figures)), ["the operations are no pairs of C and C++"])


if __name__ == "__main__":
    unittest.main()
