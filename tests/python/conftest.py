import os
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
for folder in (ROOT / "python", ROOT / "tests/support", Path(__file__).parent):
    sys.path.insert(0, str(folder))
os.environ["PYTHONPATH"] = str(ROOT / "python")
