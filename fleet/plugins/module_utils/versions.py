# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The order of versions, the same as that of the stand-in's version floor."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re

SKIPPED = re.compile("[^0-9A-Za-z.~^-]*")
NUMBER = re.compile("[0-9]*")
WORD = re.compile("[A-Za-z]*")


def compare(left, right):
    """-1, 0 or 1: the left version is lower than, equal to or higher than the right one."""
    while True:
        left, right = _after(SKIPPED, left), _after(SKIPPED, right)
        # Before the end of a text, and unlike the other separators: 2.0~rc1 is below 2.0.
        order, left, right = _take_separator("~", left, right)
        if order:
            return order
        if not left or not right:
            return _order(bool(left), bool(right))
        for separator in "-^.":
            order, left, right = _take_separator(separator, left, right)
            if order:
                return order
        order, left, right = _take_part(left, right)
        if order:
            return order


def _order(left, right):
    return (left > right) - (left < right)


def _after(pattern, text):
    return text[pattern.match(text).end():]


def _take_separator(separator, left, right):
    """Takes a separator off both; a text with it is lower than one without."""
    order = _order(right.startswith(separator), left.startswith(separator))
    if order == 0 and left.startswith(separator):
        return 0, left[1:], right[1:]
    return order, left, right


def _take_part(left, right):
    """Takes a number or a word off both. No number is lower than any, even than 0."""
    numbers = left[:1].isdigit() or right[:1].isdigit()
    pattern = NUMBER if numbers else WORD
    first, second = pattern.match(left).group(), pattern.match(right).group()
    if numbers and first and second:
        order = _order(int(first), int(second))
    else:
        order = _order(first, second)
    return order, left[len(first):], right[len(second):]
