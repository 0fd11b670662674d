#!/usr/bin/env python3
"""How growth is judged."""

import unittest

import growth


class Judgement(unittest.TestCase):
    def test_passes_what_takes_some_steps_more(self):
        self.assertIsNone(growth.judge("find", 100, 120, set()))

    def test_names_what_grows(self):
        self.assertEqual(growth.judge("find", 100, 200, {"push"}),
                         "grows: find: 100 instructions for each of 500, 200 of 2000")

    def test_passes_what_is_known_to_grow(self):
        self.assertIsNone(growth.judge("find", 100, 200, {"find"}))

    def test_names_what_no_longer_grows(self):
        self.assertEqual(growth.judge("find", 100, 110, {"find"}),
                         "no longer grows, to be taken off the list: find")


if __name__ == "__main__":
    unittest.main()
