"""python3 -m orvsim"""

import sys

from orvsim.cli import main

sys.exit(main())
