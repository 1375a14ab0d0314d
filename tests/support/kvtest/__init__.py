"""What the tests and scripts written in Python share. scripts/python has it on its path."""
