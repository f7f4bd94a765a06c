(() => {
  "use strict";
})();
