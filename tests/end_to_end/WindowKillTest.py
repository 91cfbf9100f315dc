"""A few kills of a job in the window; windowKills.py does more of them by hand"""
import unittest

from windowKills import WindowKills

if __name__ == "__main__":
    unittest.main()
